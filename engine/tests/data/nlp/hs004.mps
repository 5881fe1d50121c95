* Hock-Schittkowski problem 4 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bound-constrained.
* optimum 2.6666666666666667 tolerance 1e-6
* solution x1 1 x2 0
NAME hs004
ROWS
 N  obj
COLUMNS
    x1  obj  0
    x2  obj  1
BOUNDS
 LO bnd  x1  1
NLCOEFFICIENTS
    obj  =  1  (x1 + 1)^3/3
INITIALVALUES
    x1  1.125
    x2  0.125
ENDATA
