* Hock-Schittkowski problem 27 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum 0.04 tolerance 1e-6
* solution x1 -1 x2 1 x3 0
NAME hs027
ROWS
 N  obj
 E  c1
COLUMNS
    x1  c1  1
    x2  obj  0
    x3  obj  0
RHS
    rhs  c1  -1
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
NLCOEFFICIENTS
    obj  =  1  0.01*(x1 - 1)^2 + (x2 - x1^2)^2
    c1  =  1  x3^2
INITIALVALUES
    x1  2
    x2  2
    x3  2
ENDATA
