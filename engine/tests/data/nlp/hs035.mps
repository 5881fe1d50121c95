* Hock-Schittkowski problem 35 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): quadratic objective, linear inequality.
* optimum 0.1111111111111111 tolerance 1e-6
* solution x1 1.3333333333333333 x2 0.7777777777777778 x3 0.4444444444444444
NAME hs035
ROWS
 N  obj
 L  c1
COLUMNS
    x1  obj  -8
    x1  c1  1
    x2  obj  -6
    x2  c1  1
    x3  obj  -4
    x3  c1  2
RHS
    rhs  obj  -9
    rhs  c1  3
QUADOBJ
    x1  x1  4
    x1  x2  2
    x1  x3  2
    x2  x2  4
    x3  x3  2
INITIALVALUES
    x1  0.5
    x2  0.5
    x3  0.5
ENDATA
