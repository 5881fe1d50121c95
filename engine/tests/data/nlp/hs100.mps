* Hock-Schittkowski problem 100 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality-constrained.
* optimum 680.6300573 tolerance 1e-6
* solution x1 2.3304993728795744 x2 1.9513723728968893 x3 -0.47754139238887294 x4 4.365726233655812 x5 -0.6244869705268173 x6 1.038131018607959 x7 1.5942267116118674
NAME hs100
ROWS
 N  obj
 L  c1
 L  c2
 L  c3
 L  c4
COLUMNS
    x1  c2  7
    x1  c3  23
    x2  c2  3
    x3  c1  1
    x4  c2  1
    x5  c1  5
    x5  c2  -1
    x6  obj  -10
    x6  c4  5
    x7  obj  -8
    x7  c3  -8
    x7  c4  -11
RHS
    rhs  c1  127
    rhs  c2  282
    rhs  c3  196
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
 FR bnd  x6
 FR bnd  x7
NLCOEFFICIENTS
    obj  =  1  (x1 - 10)^2 + 5*(x2 - 12)^2 + x3^4 + 3*(x4 - 11)^2 + 10*x5^6 + 7*x6^2 + x7^4 - 4*x6*x7
    c1  =  1  2*x1^2 + 3*x2^4 + 4*x4^2
    c2  =  1  10*x3^2
    c3  =  1  x2^2 + 6*x6^2
    c4  =  1  4*x1^2 + x2^2 - 3*x1*x2 + 2*x3^2
INITIALVALUES
    x1  1
    x2  2
    x3  0
    x4  4
    x5  0
    x6  1
    x7  1
ENDATA
