* Hock-Schittkowski problem 33 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, bounds.
* optimum -4.5857864376269050 tolerance 1e-6
* solution x1 0 x2 1.4142135623730951 x3 1.4142135623730951
NAME hs033
ROWS
 N  obj
 G  c1
 G  c2
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  1
RHS
    rhs  c2  4
BOUNDS
 UP bnd  x3  5
NLCOEFFICIENTS
    obj  =  1  (x1 - 1)*(x1 - 2)*(x1 - 3)
    c1  =  -1  x1^2 + x2^2
    c1  x3  1  x3
    c2  =  1  x1^2 + x2^2 + x3^2
INITIALVALUES
    x1  0
    x2  0
    x3  3
ENDATA
