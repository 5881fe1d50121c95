* Hock-Schittkowski problem 10 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality-constrained.
* optimum -1 tolerance 1e-6
* solution x1 0 x2 1
NAME hs010
ROWS
 N  obj
 G  c1
COLUMNS
    x1  obj  1
    x2  obj  -1
RHS
    rhs  c1  -1
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    c1  =  1  2*x1*x2 - 3*x1^2 - x2^2
INITIALVALUES
    x1  -10
    x2  10
ENDATA
