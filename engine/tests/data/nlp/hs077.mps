* Hock-Schittkowski problem 77 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained, sin.
* optimum 0.24150513 tolerance 1e-6
* solution x1 1.1661721897092985 x2 1.1821113888027044 x3 1.3802570431454597 x4 1.5060362736230457 x5 0.6109201960430908
NAME hs077
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
    rhs  c1  2.8284271247461903
    rhs  c2  9.414213562373096
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (x1 - 1)^2 + (x1 - x2)^2 + (x3 - 1)^2 + (x4 - 1)^4 + (x5 - 1)^6
    c1  =  1  x1^2*x4 + sin(x4 - x5)
    c2  =  1  x3^4*x4^2
INITIALVALUES
    x1  2
    x2  2
    x3  2
    x4  2
    x5  2
ENDATA
