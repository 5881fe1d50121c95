* Hock-Schittkowski problem 44 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bilinear objective, linear inequalities.
* optimum -15 tolerance 1e-6
* solution x1 0 x2 3 x3 0 x4 4
NAME hs044
ROWS
 N  obj
 L  c1
 L  c2
 L  c3
 L  c4
 L  c5
 L  c6
COLUMNS
    x1  obj  1
    x1  c1  1
    x1  c2  4
    x1  c3  3
    x2  obj  -1
    x2  c1  2
    x2  c2  1
    x2  c3  4
    x3  obj  -1
    x3  c4  2
    x3  c5  1
    x3  c6  1
    x4  c4  1
    x4  c5  2
    x4  c6  1
RHS
    rhs  c1  8
    rhs  c2  12
    rhs  c3  12
    rhs  c4  8
    rhs  c5  8
    rhs  c6  5
NLCOEFFICIENTS
    obj  x1  -1  x3
    obj  x2  1  x3 - x4
    obj  x4  1  x1
INITIALVALUES
    x1  0
    x2  0
    x3  0
    x4  0
ENDATA
