* Hock-Schittkowski problem 61 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum -143.6461422 tolerance 1e-6
* solution x1 5.326770135563928 x2 -2.118998632218976 x3 3.2104642253505506
NAME hs061
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  obj  -33
    x1  c1  3
    x1  c2  4
    x2  obj  16
    x3  obj  -24
RHS
    rhs  c1  7
    rhs  c2  11
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
NLCOEFFICIENTS
    obj  =  1  4*x1^2 + 2*x2^2 + 2*x3^2
    c1  x2  -2  x2
    c2  x3  -1  x3
INITIALVALUES
    x1  0
    x2  0
    x3  0
ENDATA
