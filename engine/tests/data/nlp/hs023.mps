* Hock-Schittkowski problem 23 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, bounds.
* optimum 2 tolerance 1e-6
* solution x1 1 x2 1
NAME hs023
ROWS
 N  obj
 G  c1
 G  c2
 G  c3
 G  c4
 G  c5
COLUMNS
    x1  c1  1
    x1  c5  -1
    x2  c1  1
    x2  c4  -1
RHS
    rhs  c1  1
    rhs  c2  1
    rhs  c3  9
BOUNDS
 UP bnd  x1  50
 LO bnd  x1  -50
 UP bnd  x2  50
 LO bnd  x2  -50
NLCOEFFICIENTS
    obj  =  1  x1^2 + x2^2
    c2  =  1  x1^2 + x2^2
    c3  =  1  9*x1^2 + x2^2
    c4  =  1  x1^2
    c5  =  1  x2^2
INITIALVALUES
    x1  3
    x2  1
ENDATA
