* Hock-Schittkowski problem 11 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality-constrained.
* optimum -8.498464223 tolerance 1e-6
* solution x1 1.2347728250533205 x2 1.5246639294900612
NAME hs011
ROWS
 N  obj
 G  c1
COLUMNS
    x1  obj  0
    x2  c1  1
RHS
    rhs  obj  25
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    obj  =  1  (x1 - 5)^2 + x2^2
    c1  x1  -1  x1
INITIALVALUES
    x1  4.9
    x2  0.1
ENDATA
