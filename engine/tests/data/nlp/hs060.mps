* Hock-Schittkowski problem 60 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality, bounds.
* optimum 0.03256820025 tolerance 1e-6
* solution x1 1.1048590197333166 x2 1.1966741822882572 x3 1.535262260325326
NAME hs060
ROWS
 N  obj
 E  c1
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
RHS
    rhs  c1  8.242640687119286
BOUNDS
 UP bnd  x1  10
 LO bnd  x1  -10
 UP bnd  x2  10
 LO bnd  x2  -10
 UP bnd  x3  10
 LO bnd  x3  -10
NLCOEFFICIENTS
    obj  =  1  (x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^4
    c1  =  1  x1*(1 + x2^2) + x3^4
INITIALVALUES
    x1  2
    x2  2
    x3  2
ENDATA
