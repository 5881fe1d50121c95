* Hock-Schittkowski problem 46 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained, sin.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1 x3 1 x4 1 x5 1
NAME hs046
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  obj  0
    x2  c2  1
    x3  obj  0
    x4  obj  0
    x5  obj  0
RHS
    rhs  c1  1
    rhs  c2  2
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (x1 - x2)^2 + (x3 - 1)^2 + (x4 - 1)^4 + (x5 - 1)^6
    c1  =  1  x1^2*x4 + sin(x4 - x5)
    c2  =  1  x3^4*x4^2
INITIALVALUES
    x1  0.7071067811865476
    x2  1.75
    x3  0.5
    x4  2
    x5  2
ENDATA
