* Hock-Schittkowski problem 80 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality, bounds, exp.
* optimum 0.0539498478 tolerance 1e-6
* solution x1 -1.7171435703943652 x2 1.5957096901835348 x3 1.8272457529272261 x4 -0.7636430781841322 x5 -0.7636430781841324
NAME hs080
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
    x4  obj  0
    x5  obj  0
RHS
    rhs  c1  10
    rhs  c3  -1
BOUNDS
 UP bnd  x1  2.3
 LO bnd  x1  -2.3
 UP bnd  x2  2.3
 LO bnd  x2  -2.3
 UP bnd  x3  3.2
 LO bnd  x3  -3.2
 UP bnd  x4  3.2
 LO bnd  x4  -3.2
 UP bnd  x5  3.2
 LO bnd  x5  -3.2
NLCOEFFICIENTS
    obj  =  1  exp(x1*x2*x3*x4*x5)
    c1  =  1  x1^2 + x2^2 + x3^2 + x4^2 + x5^2
    c2  =  1  x2*x3 - 5*x4*x5
    c3  =  1  x1^3 + x2^3
INITIALVALUES
    x1  -2
    x2  2
    x3  2
    x4  -1
    x5  -1
ENDATA
