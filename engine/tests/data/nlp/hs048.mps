* Hock-Schittkowski problem 48 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equalities.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1 x3 1 x4 1 x5 1
NAME hs048
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  c1  1
    x2  c1  1
    x3  c1  1
    x3  c2  1
    x4  c1  1
    x4  c2  -2
    x5  c1  1
    x5  c2  -2
RHS
    rhs  c1  5
    rhs  c2  -3
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (x1 - 1)^2 + (x2 - x3)^2 + (x4 - x5)^2
INITIALVALUES
    x1  3
    x2  5
    x3  -3
    x4  2
    x5  -2
ENDATA
