* Hock-Schittkowski problem 40 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum -0.25 tolerance 1e-6
* solution x1 0.7937005259840998 x2 0.7071067811865476 x3 0.5297315471796477 x4 0.8408964152537145
NAME hs040
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  obj  0
    x2  c3  -1
    x3  c2  -1
    x4  obj  0
RHS
    rhs  c1  1
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
NLCOEFFICIENTS
    obj  =  -1  x1*x2*x3*x4
    c1  =  1  x1^3 + x2^2
    c2  x4  1  x1^2
    c3  =  1  x4^2
INITIALVALUES
    x1  0.8
    x2  0.8
    x3  0.8
    x4  0.8
ENDATA
