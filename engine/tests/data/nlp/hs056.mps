* Hock-Schittkowski problem 56 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): equality-constrained, sin.
* optimum -3.456 tolerance 1e-6
* solution x1 2.4 x2 1.2 x3 1.2 x4 0.8570719478501309 x5 0.5639426413606289 x6 0.5639426413606289 x7 1.5707963267948966
NAME hs056
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
 E  c4
COLUMNS
    x1  c1  1
    x1  c4  1
    x2  c2  1
    x2  c4  2
    x3  c3  1
    x3  c4  2
    x4  obj  0
    x5  obj  0
    x6  obj  0
    x7  obj  0
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
 FR bnd  x6
 FR bnd  x7
NLCOEFFICIENTS
    obj  x1  -1  x2*x3
    c1  =  -4.2  sin(x4)^2
    c2  =  -4.2  sin(x5)^2
    c3  =  -4.2  sin(x6)^2
    c4  =  -7.2  sin(x7)^2
INITIALVALUES
    x1  1
    x2  1
    x3  1
    x4  0.509739678831507
    x5  0.509739678831507
    x6  0.509739678831507
    x7  0.9851107833377457
ENDATA
