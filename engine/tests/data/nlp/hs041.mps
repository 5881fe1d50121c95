* Hock-Schittkowski problem 41 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equality, bounds.
* optimum 1.9259259259259259 tolerance 1e-6
* solution x1 0.6666666666666666 x2 0.3333333333333333 x3 0.3333333333333333 x4 2
NAME hs041
ROWS
 N  obj
 E  c1
COLUMNS
    x1  c1  1
    x2  c1  2
    x3  c1  2
    x4  c1  -1
RHS
    rhs  obj  -2
BOUNDS
 UP bnd  x1  1
 UP bnd  x2  1
 UP bnd  x3  1
 UP bnd  x4  2
NLCOEFFICIENTS
    obj  =  -1  x1*x2*x3
INITIALVALUES
    x1  2
    x2  2
    x3  2
    x4  2
ENDATA
