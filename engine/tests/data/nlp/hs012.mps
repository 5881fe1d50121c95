* Hock-Schittkowski problem 12 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): quadratic objective, inequality.
* optimum -30 tolerance 1e-6
* solution x1 2 x2 3
NAME hs012
ROWS
 N  obj
 L  c1
COLUMNS
    x1  obj  -7
    x2  obj  -7
RHS
    rhs  c1  25
BOUNDS
 FR bnd  x1
 FR bnd  x2
QUADOBJ
    x1  x1  1
    x1  x2  -1
    x2  x2  2
NLCOEFFICIENTS
    c1  =  1  4*x1^2 + x2^2
INITIALVALUES
    x1  0
    x2  0
ENDATA
