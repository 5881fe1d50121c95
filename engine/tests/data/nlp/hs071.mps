* Hock-Schittkowski problem 71 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality and inequality, bounds.
* optimum 17.0140173 tolerance 1e-6
* solution x1 0.9999999999999083 x2 4.742999637264399 x3 3.8211499841848746 x4 1.3794082931727993
NAME hs071
ROWS
 N  obj
 G  c1
 E  c2
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  1
    x4  obj  0
RHS
    rhs  c1  25
    rhs  c2  40
BOUNDS
 UP bnd  x1  5
 LO bnd  x1  1
 UP bnd  x2  5
 LO bnd  x2  1
 UP bnd  x3  5
 LO bnd  x3  1
 UP bnd  x4  5
 LO bnd  x4  1
NLCOEFFICIENTS
    obj  x1  1  x4*(x1 + x2 + x3)
    c1  =  1  x1*x2*x3*x4
    c2  =  1  x1^2 + x2^2 + x3^2 + x4^2
INITIALVALUES
    x1  1
    x2  5
    x3  5
    x4  1
ENDATA
