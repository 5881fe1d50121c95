* Hock-Schittkowski problem 63 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality, bounds.
* optimum 961.7151721 tolerance 1e-6
* solution x1 3.512121341874719 x2 0.21698794151522324 x3 3.552171154827018
NAME hs063
ROWS
 N  obj
 E  c1
 E  c2
COLUMNS
    x1  c1  8
    x2  c1  14
    x3  c1  7
RHS
    rhs  obj  -1000
    rhs  c1  56
    rhs  c2  25
NLCOEFFICIENTS
    obj  =  -1  x1^2 + 2*x2^2 + x3^2 + x1*x2 + x1*x3
    c2  =  1  x1^2 + x2^2 + x3^2
INITIALVALUES
    x1  2
    x2  2
    x3  2
ENDATA
