* Hock-Schittkowski problem 50 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equalities.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1 x3 1 x4 1 x5 1
NAME hs050
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  c1  1
    x2  c1  2
    x2  c2  1
    x3  c1  3
    x3  c2  2
    x3  c3  1
    x4  c2  3
    x4  c3  2
    x5  c3  3
RHS
    rhs  c1  6
    rhs  c2  6
    rhs  c3  6
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (x1 - x2)^2 + (x2 - x3)^2 + (x3 - x4)^4 + (x4 - x5)^2
INITIALVALUES
    x1  35
    x2  -31
    x3  11
    x4  5
    x5  -5
ENDATA
