* Hock-Schittkowski problem 2 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bound-constrained.
* optimum 0.0504261879 tolerance 1e-6
* solution x1 1.224370748736332 x2 1.4999999999999496
NAME hs002
ROWS
 N  obj
COLUMNS
    x1  obj  0
    x2  obj  0
BOUNDS
 FR bnd  x1
 LO bnd  x2  1.5
NLCOEFFICIENTS
    obj  =  1  100*(x2 - x1^2)^2 + (1 - x1)^2
INITIALVALUES
    x1  -2
    x2  1
ENDATA
