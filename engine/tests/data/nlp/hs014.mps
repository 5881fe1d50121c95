* Hock-Schittkowski problem 14 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality and inequality.
* optimum 1.3934649806878405 tolerance 1e-6
* solution x1 0.8228756555322954 x2 0.9114378277661477
NAME hs014
ROWS
 N  obj
 G  c1
 E  c2
COLUMNS
    x1  c2  1
    x2  c2  -2
RHS
    rhs  c1  -1
    rhs  c2  -1
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    obj  =  1  (x1 - 2)^2 + (x2 - 1)^2
    c1  =  -1  x1^2/4 + x2^2
INITIALVALUES
    x1  2
    x2  2
ENDATA
