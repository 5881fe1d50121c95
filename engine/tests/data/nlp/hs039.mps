* Hock-Schittkowski problem 39 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum -1 tolerance 1e-6
* solution x1 1 x2 1 x3 0 x4 0
NAME hs039
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  obj  -1
    x2  c1  1
    x2  c2  -1
    x3  obj  0
    x4  obj  0
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
NLCOEFFICIENTS
    c1  =  -1  x1^3 + x3^2
    c2  =  1  x1^2 - x4^2
INITIALVALUES
    x1  2
    x2  2
    x3  2
    x4  2
ENDATA
