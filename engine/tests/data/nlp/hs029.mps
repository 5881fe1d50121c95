* Hock-Schittkowski problem 29 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality-constrained.
* optimum -22.627416997969522 tolerance 1e-6
* solution x1 4 x2 2.8284271247461903 x3 2
NAME hs029
ROWS
 N  obj
 L  c1
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
RHS
    rhs  c1  48
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
NLCOEFFICIENTS
    obj  x1  -1  x2*x3
    c1  =  1  x1^2 + 2*x2^2 + 4*x3^2
INITIALVALUES
    x1  1
    x2  1
    x3  1
ENDATA
