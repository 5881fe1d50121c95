* Hock-Schittkowski problem 76 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): quadratic objective, linear inequalities.
* optimum -4.6818181818181818 tolerance 1e-6
* solution x1 0.2727272727272727 x2 2.090909090909091 x3 0 x4 0.5454545454545454
NAME hs076
ROWS
 N  obj
 L  c1
 L  c2
 G  c3
COLUMNS
    x1  obj  -1
    x1  c1  1
    x1  c2  3
    x2  obj  -3
    x2  c1  2
    x2  c2  1
    x2  c3  1
    x3  obj  1
    x3  c1  1
    x3  c2  2
    x3  c3  4
    x4  obj  -1
    x4  c1  1
    x4  c2  -1
RHS
    rhs  c1  5
    rhs  c2  4
    rhs  c3  1.5
QUADOBJ
    x1  x1  2
    x1  x3  -1
    x2  x2  1
    x3  x3  2
    x3  x4  1
    x4  x4  1
INITIALVALUES
    x1  0.5
    x2  0.5
    x3  0.5
    x4  0.5
ENDATA
