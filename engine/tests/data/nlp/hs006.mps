* Hock-Schittkowski problem 6 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1
NAME hs006
ROWS
 N  obj
 E  c1
COLUMNS
    x1  obj  0
    x2  c1  10
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    obj  =  1  (1 - x1)^2
    c1  x1  -10  x1
INITIALVALUES
    x1  -1.2
    x2  1
ENDATA
