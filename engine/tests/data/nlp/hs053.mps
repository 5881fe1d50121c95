* Hock-Schittkowski problem 53 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equalities, bounds.
* optimum 4.0930232558139535 tolerance 1e-6
* solution x1 -0.7674418604651163 x2 0.2558139534883721 x3 0.627906976744186 x4 -0.11627906976744186 x5 0.2558139534883721
NAME hs053
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  c1  1
    x2  c1  3
    x2  c3  1
    x3  c2  1
    x4  c2  1
    x5  c2  -2
    x5  c3  -1
BOUNDS
 UP bnd  x1  10
 LO bnd  x1  -10
 UP bnd  x2  10
 LO bnd  x2  -10
 UP bnd  x3  10
 LO bnd  x3  -10
 UP bnd  x4  10
 LO bnd  x4  -10
 UP bnd  x5  10
 LO bnd  x5  -10
NLCOEFFICIENTS
    obj  =  1  (x1 - x2)^2 + (x2 + x3 - 2)^2 + (x4 - 1)^2 + (x5 - 1)^2
INITIALVALUES
    x1  2
    x2  2
    x3  2
    x4  2
    x5  2
ENDATA
