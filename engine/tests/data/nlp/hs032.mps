* Hock-Schittkowski problem 32 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality and inequality.
* optimum 1 tolerance 1e-6
* solution x1 0 x2 0 x3 1
NAME hs032
ROWS
 N  obj
 G  c1
 E  c2
COLUMNS
    x1  c2  1
    x2  c1  6
    x2  c2  1
    x3  c1  4
    x3  c2  1
RHS
    rhs  c1  3
    rhs  c2  1
NLCOEFFICIENTS
    obj  =  1  (x1 + 3*x2 + x3)^2 + 4*(x1 - x2)^2
    c1  =  -1  x1^3
INITIALVALUES
    x1  0.1
    x2  0.7
    x3  0.2
ENDATA
