* Hock-Schittkowski problem 65 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, bounds.
* optimum 0.9535288567 tolerance 1e-6
* solution x1 3.650461725213038 x2 3.650461725213038 x3 4.620417555320004
NAME hs065
ROWS
 N  obj
 L  c1
COLUMNS
    x1  obj  0
    x2  obj  0
    x3  obj  0
RHS
    rhs  c1  48
BOUNDS
 UP bnd  x1  4.5
 LO bnd  x1  -4.5
 UP bnd  x2  4.5
 LO bnd  x2  -4.5
 UP bnd  x3  5
 LO bnd  x3  -5
NLCOEFFICIENTS
    obj  =  1  (x1 - x2)^2 + (x1 + x2 - 10)^2/9 + (x3 - 5)^2
    c1  =  1  x1^2 + x2^2 + x3^2
INITIALVALUES
    x1  -5
    x2  5
    x3  0
ENDATA
