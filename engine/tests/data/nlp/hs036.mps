* Hock-Schittkowski problem 36 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear inequality, bounds.
* optimum -3300 tolerance 1e-6
* solution x1 20 x2 11 x3 15
NAME hs036
ROWS
 N  obj
 L  c1
COLUMNS
    x1  c1  1
    x2  c1  2
    x3  c1  2
RHS
    rhs  c1  72
BOUNDS
 UP bnd  x1  20
 UP bnd  x2  11
 UP bnd  x3  42
NLCOEFFICIENTS
    obj  x1  -1  x2*x3
INITIALVALUES
    x1  10
    x2  10
    x3  10
ENDATA
