* Hock-Schittkowski problem 26 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1 x3 1
NAME hs026
ROWS
 N  obj
 E  c1
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
RHS
    rhs  c1  3
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
NLCOEFFICIENTS
    obj  =  1  (x1 - x2)^2 + (x2 - x3)^4
    c1  =  1  (1 + x2^2)*x1 + x3^4
INITIALVALUES
    x1  -2.6
    x2  2
    x3  2
ENDATA
