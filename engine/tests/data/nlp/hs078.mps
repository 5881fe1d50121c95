* Hock-Schittkowski problem 78 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum -2.919700 tolerance 1e-6
* solution x1 -1.7171435703943823 x2 1.5957096901835546 x3 1.8272457529271946 x4 -0.7636430781841304 x5 -0.7636430781841305
NAME hs078
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
    x4  obj  0
    x5  obj  0
RHS
    rhs  c1  10
    rhs  c3  -1
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  x1*x2*x3*x4*x5
    c1  =  1  x1^2 + x2^2 + x3^2 + x4^2 + x5^2
    c2  =  1  x2*x3 - 5*x4*x5
    c3  =  1  x1^3 + x2^3
INITIALVALUES
    x1  -2
    x2  1.5
    x3  2
    x4  -1
    x5  -1
ENDATA
