* Hock-Schittkowski problem 47 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1 x3 1 x4 1 x5 1
NAME hs047
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  c1  1
    x2  c2  1
    x3  obj  0
    x4  c2  1
    x5  obj  0
RHS
    rhs  c1  3
    rhs  c2  1
    rhs  c3  1
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (x1 - x2)^2 + (x2 - x3)^3 + (x3 - x4)^4 + (x4 - x5)^4
    c1  =  1  x2^2 + x3^3
    c2  x3  -1  x3
    c3  x1  1  x5
INITIALVALUES
    x1  2
    x2  1.4142135623730951
    x3  -1
    x4  0.5857864376269049
    x5  0.5
ENDATA
