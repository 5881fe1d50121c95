* Hock-Schittkowski problem 104 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, ranged row, bounds, fractional powers.
* optimum 3.9511634396 tolerance 1e-6
* solution x1 6.465114028369839 x2 2.232708647985494 x3 0.6673974912866445 x4 0.5957564229003797 x5 5.9326756779093515 x6 5.5272345649764425 x7 1.01332200890271 x8 0.4006682291257331
NAME hs104
ROWS
 N  obj
 L  c1
 L  c2
 L  c3
 L  c4
 G  c5
COLUMNS
    x1  obj  -1
    x1  c1  0.1
    x1  c2  0.1
    x1  c5  -1
    x2  obj  -1
    x2  c2  0.1
    x2  c5  -1
    x3  obj  0
    x4  obj  0
    x5  obj  0
    x6  obj  0
    x7  obj  0
    x8  obj  0
RHS
    rhs  obj  -10
    rhs  c1  1
    rhs  c2  1
    rhs  c3  1
    rhs  c4  1
    rhs  c5  -9.9
RANGES
    rng  c5  4.1
BOUNDS
 UP bnd  x1  10
 LO bnd  x1  0.1
 UP bnd  x2  10
 LO bnd  x2  0.1
 UP bnd  x3  10
 LO bnd  x3  0.1
 UP bnd  x4  10
 LO bnd  x4  0.1
 UP bnd  x5  10
 LO bnd  x5  0.1
 UP bnd  x6  10
 LO bnd  x6  0.1
 UP bnd  x7  10
 LO bnd  x7  0.1
 UP bnd  x8  10
 LO bnd  x8  0.1
NLCOEFFICIENTS
    obj  =  1  0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67)
    c1  =  1  0.0588*x5*x7
    c2  =  1  0.0588*x6*x8
    c3  =  1  4*x3/x5 + 2/(x3^0.71*x5) + 0.0588*x7/x3^1.3
    c4  =  1  4*x4/x6 + 2/(x4^0.71*x6) + 0.0588*x8/x4^1.3
    c5  =  1  0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67)
INITIALVALUES
    x1  6
    x2  3
    x3  0.4
    x4  0.2
    x5  6
    x6  6
    x7  1
    x8  0.5
ENDATA
