* Hock-Schittkowski problem 28 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equality.
* optimum 0 tolerance 1e-6
* solution x1 0.5 x2 -0.5 x3 0.5
NAME hs028
ROWS
 N  obj
 E  c1
COLUMNS
    x1  c1  1
    x2  c1  2
    x3  c1  3
RHS
    rhs  c1  1
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
NLCOEFFICIENTS
    obj  =  1  (x1 + x2)^2 + (x2 + x3)^2
INITIALVALUES
    x1  -4
    x2  1
    x3  1
ENDATA
