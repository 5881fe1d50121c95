* Hock-Schittkowski problem 43 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality-constrained.
* optimum -44 tolerance 1e-6
* solution x1 0 x2 1 x3 2 x4 -1
NAME hs043
ROWS
 N  obj
 L  c1
 L  c2
 L  c3
COLUMNS
    x1  obj  -5
    x1  c1  1
    x1  c2  -1
    x1  c3  2
    x2  obj  -5
    x2  c1  -1
    x2  c3  -1
    x3  obj  -21
    x3  c1  1
    x4  obj  7
    x4  c1  -1
    x4  c2  -1
    x4  c3  -1
RHS
    rhs  c1  8
    rhs  c2  10
    rhs  c3  5
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
NLCOEFFICIENTS
    obj  =  1  x1^2 + x2^2 + 2*x3^2 + x4^2
    c1  =  1  x1^2 + x2^2 + x3^2 + x4^2
    c2  =  1  x1^2 + 2*x2^2 + x3^2 + 2*x4^2
    c3  =  1  2*x1^2 + x2^2 + x3^2
INITIALVALUES
    x1  0
    x2  0
    x3  0
    x4  0
ENDATA
