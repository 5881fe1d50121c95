* Hock-Schittkowski problem 30 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, bounds.
* optimum 1 tolerance 1e-6
* solution x1 1 x2 0 x3 0
NAME hs030
ROWS
 N  obj
 G  c1
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
RHS
    rhs  c1  1
BOUNDS
 UP bnd  x1  10
 LO bnd  x1  1
 UP bnd  x2  10
 LO bnd  x2  -10
 UP bnd  x3  10
 LO bnd  x3  -10
NLCOEFFICIENTS
    obj  =  1  x1^2 + x2^2 + x3^2
    c1  =  1  x1^2 + x2^2
INITIALVALUES
    x1  1
    x2  1
    x3  1
ENDATA
