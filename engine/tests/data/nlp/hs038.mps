* Hock-Schittkowski problem 38 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bound-constrained.
* optimum 0 tolerance 1e-6
* solution x1 1 x2 1 x3 1 x4 1
NAME hs038
ROWS
 N  obj
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
    x4  obj  0
BOUNDS
 UP bnd  x1  10
 LO bnd  x1  -10
 UP bnd  x2  10
 LO bnd  x2  -10
 UP bnd  x3  10
 LO bnd  x3  -10
 UP bnd  x4  10
 LO bnd  x4  -10
NLCOEFFICIENTS
    obj  =  1  100*(x2 - x1^2)^2 + (1 - x1)^2 + 90*(x4 - x3^2)^2 + (1 - x3)^2 + 10.1*((x2 - 1)^2 + (x4 - 1)^2) + 19.8*(x2 - 1)*(x4 - 1)
INITIALVALUES
    x1  -3
    x2  -1
    x3  -3
    x4  -1
ENDATA
