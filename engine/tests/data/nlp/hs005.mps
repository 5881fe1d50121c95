* Hock-Schittkowski problem 5 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): bound-constrained, sin.
* optimum -1.9132229549810364 tolerance 1e-6
* solution x1 -0.5471975511965976 x2 -1.5471975511965976
NAME hs005
ROWS
 N  obj
COLUMNS
    x1  obj  -1.5
    x2  obj  2.5
RHS
    rhs  obj  -1
BOUNDS
 UP bnd  x1  4
 LO bnd  x1  -1.5
 UP bnd  x2  3
 LO bnd  x2  -3
NLCOEFFICIENTS
    obj  =  1  sin(x1 + x2) + (x1 - x2)^2
INITIALVALUES
    x1  0
    x2  0
ENDATA
