* Hock-Schittkowski problem 13 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, no constraint qualification at the optimum.
* optimum 1 tolerance 1e-6
* solution x1 1 x2 0
NAME hs013
ROWS
 N  obj
 G  c1
COLUMNS
    x1  obj  0
    x2  c1  -1
NLCOEFFICIENTS
    obj  =  1  (x1 - 2)^2 + x2^2
    c1  =  1  (1 - x1)^3
INITIALVALUES
    x1  -2
    x2  -2
ENDATA
