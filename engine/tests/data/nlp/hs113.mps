* Hock-Schittkowski problem 113 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality-constrained.
* optimum 24.3062091 tolerance 1e-6
* solution x1 2.1719963712554575 x2 2.363682973697289 x3 8.773925738476843 x4 5.095984487948453 x5 0.9906547649638651 x6 1.4305739789363139 x7 1.321644208161696 x8 9.828725807886324 x9 8.28009167009836 x10 8.375926663921312
NAME hs113
ROWS
 N  obj
 L  c1
 G  c2
 G  c3
 L  c4
 L  c5
 L  c6
 L  c7
 G  c8
COLUMNS
    x1  obj  -14
    x1  c1  4
    x1  c2  -10
    x1  c3  8
    x1  c8  3
    x2  obj  -16
    x2  c1  5
    x2  c2  8
    x2  c3  -2
    x2  c5  8
    x2  c8  -6
    x3  obj  0
    x4  c4  -7
    x4  c5  -2
    x5  c7  14
    x6  c6  -1
    x6  c7  -6
    x7  c1  -3
    x7  c2  17
    x8  c1  9
    x8  c2  -2
    x9  c3  -5
    x10  c3  2
    x10  c8  7
RHS
    rhs  obj  -45
    rhs  c1  105
    rhs  c3  -12
    rhs  c4  120
    rhs  c5  40
    rhs  c6  30
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
 FR bnd  x6
 FR bnd  x7
 FR bnd  x8
 FR bnd  x9
 FR bnd  x10
NLCOEFFICIENTS
    obj  =  1  x1^2 + x2^2 + x1*x2 + (x3 - 10)^2 + 4*(x4 - 5)^2 + (x5 - 3)^2 + 2*(x6 - 1)^2 + 5*x7^2 + 7*(x8 - 11)^2 + 2*(x9 - 10)^2 + (x10 - 7)^2
    c4  =  1  3*(x1 - 2)^2 + 4*(x2 - 3)^2 + 2*x3^2
    c5  =  1  5*x1^2 + (x3 - 6)^2
    c6  =  1  0.5*(x1 - 8)^2 + 2*(x2 - 4)^2 + 3*x5^2
    c7  =  1  x1^2 + 2*(x2 - 2)^2 - 2*x1*x2
    c8  =  -12  (x9 - 8)^2
INITIALVALUES
    x1  2
    x2  3
    x3  5
    x4  5
    x5  1
    x6  2
    x7  7
    x8  3
    x9  6
    x10  10
ENDATA
