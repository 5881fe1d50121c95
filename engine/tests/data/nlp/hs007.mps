* Hock-Schittkowski problem 7 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained, ln.
* optimum -1.7320508075688772 tolerance 1e-6
* solution x1 0 x2 1.7320508075688772
NAME hs007
ROWS
 N  obj
 E  c1
COLUMNS
    x1  obj  0
    x2  obj  -1
RHS
    rhs  c1  4
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    obj  =  1  ln(1 + x1^2)
    c1  =  1  (1 + x1^2)^2 + x2^2
INITIALVALUES
    x1  2
    x2  2
ENDATA
