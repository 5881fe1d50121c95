* Hock-Schittkowski problem 1 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bound-constrained.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1
NAME hs001
ROWS
 N  obj
COLUMNS
    x1  obj  0
    x2  obj  0
BOUNDS
 FR bnd  x1
 LO bnd  x2  -1.5
NLCOEFFICIENTS
    obj  =  1  100*(x2 - x1^2)^2 + (1 - x1)^2
INITIALVALUES
    x1  -2
    x2  1
ENDATA
