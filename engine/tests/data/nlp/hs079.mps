* Hock-Schittkowski problem 79 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained.
* optimum 0.0787768209 tolerance 1e-6
* solution x1 1.1911274563110514 x2 1.3626031649617423 x3 1.4728179315120877 x4 1.6350166191679931 x5 1.6790814361664077
NAME hs079
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  c1  1
    x2  c2  1
    x3  obj  0
    x4  c2  1
    x5  obj  0
RHS
    rhs  c1  6.242640687119286
    rhs  c2  0.8284271247461903
    rhs  c3  2
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^2 + (x3 - x4)^4 + (x4 - x5)^4
    c1  =  1  x2^2 + x3^3
    c2  x3  -1  x3
    c3  x1  1  x5
INITIALVALUES
    x1  2
    x2  2
    x3  2
    x4  2
    x5  2
ENDATA
