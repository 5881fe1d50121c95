* Hock-Schittkowski problem 15 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, bounds.
* optimum 306.5 tolerance 1e-6
* solution x1 0.5 x2 2
NAME hs015
ROWS
 N  obj
 G  c1
 G  c2
COLUMNS
    x1  c2  1
    x2  obj  0
RHS
    rhs  c1  1
BOUNDS
 MI bnd  x1
 UP bnd  x1  0.5
 FR bnd  x2
NLCOEFFICIENTS
    obj  =  1  100*(x2 - x1^2)^2 + (1 - x1)^2
    c1  x1  1  x2
    c2  =  1  x2^2
INITIALVALUES
    x1  -2
    x2  1
ENDATA
