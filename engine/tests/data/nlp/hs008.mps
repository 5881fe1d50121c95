* Hock-Schittkowski problem 8 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained, constant objective.
* optimum -1 tolerance 1e-6
* solution x1 4.601594917683295 x2 1.9558436066187048
NAME hs008
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  obj  0
    x2  obj  0
RHS
    rhs  obj  1
    rhs  c1  25
    rhs  c2  9
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    c1  =  1  x1^2 + x2^2
    c2  x1  1  x2
INITIALVALUES
    x1  2
    x2  1
ENDATA
