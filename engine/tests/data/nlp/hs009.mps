* Hock-Schittkowski problem 9 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equality, sin cos.
* optimum -0.5 tolerance 1e-6
* solution x1 -3 x2 -4
NAME hs009
ROWS
 N  obj
 E  c1
COLUMNS
    x1  c1  4
    x2  c1  -3
BOUNDS
 FR bnd  x1
 FR bnd  x2
NLCOEFFICIENTS
    obj  =  1  sin(3.14159265358979324*x1/12)*cos(3.14159265358979324*x2/16)
INITIALVALUES
    x1  0
    x2  0
ENDATA
