* Hock-Schittkowski problem 21 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): quadratic objective, linear inequality.
* optimum -99.96 tolerance 1e-6
* solution x1 2 x2 0
NAME hs021
ROWS
 N  obj
 G  c1
COLUMNS
    x1  c1  10
    x2  c1  -1
RHS
    rhs  obj  100
    rhs  c1  10
BOUNDS
 UP bnd  x1  50
 LO bnd  x1  2
 UP bnd  x2  50
 LO bnd  x2  -50
QUADOBJ
    x1  x1  0.02
    x2  x2  2
INITIALVALUES
    x1  -1
    x2  -1
ENDATA
