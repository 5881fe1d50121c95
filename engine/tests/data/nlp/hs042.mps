* Hock-Schittkowski problem 42 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum 13.857864376269049 tolerance 1e-6
* solution x1 2 x2 2 x3 0.848528137423857 x4 1.1313708498984762
NAME hs042
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  c1  1
    x2  obj  0
    x3  obj  0
    x4  obj  0
RHS
    rhs  c1  2
    rhs  c2  2
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
NLCOEFFICIENTS
    obj  =  1  (x1 - 1)^2 + (x2 - 2)^2 + (x3 - 3)^2 + (x4 - 4)^2
    c2  =  1  x3^2 + x4^2
INITIALVALUES
    x1  1
    x2  1
    x3  1
    x4  1
ENDATA
