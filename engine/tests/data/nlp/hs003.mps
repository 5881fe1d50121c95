* Hock-Schittkowski problem 3 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bound-constrained.
* optimum 0 tolerance 1e-6
* solution x1 0 x2 0
NAME hs003
ROWS
 N  obj
COLUMNS
    x1  obj  0
    x2  obj  1
BOUNDS
 FR bnd  x1
NLCOEFFICIENTS
    obj  =  1  1e-5*(x2 - x1)^2
INITIALVALUES
    x1  10
    x2  1
ENDATA
