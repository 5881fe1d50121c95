* Hock-Schittkowski problem 37 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear inequality, bounds.
* optimum -3456 tolerance 1e-6
* solution x1 24 x2 12 x3 12
NAME hs037
ROWS
 N  obj
 L  c1
 G  c2
COLUMNS
    x1  c1  1
    x1  c2  1
    x2  c1  2
    x2  c2  2
    x3  c1  2
    x3  c2  2
RHS
    rhs  c1  72
BOUNDS
 UP bnd  x1  42
 UP bnd  x2  42
 UP bnd  x3  42
NLCOEFFICIENTS
    obj  =  -1  x1*x2*x3
INITIALVALUES
    x1  10
    x2  10
    x3  10
ENDATA
