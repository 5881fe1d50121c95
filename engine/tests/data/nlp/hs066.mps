* Hock-Schittkowski problem 66 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, exp.
* optimum 0.5181632741 tolerance 1e-6
* solution x1 0.18412648792292313 x2 1.2021678731970473 x3 3.3273223225990556
NAME hs066
ROWS
 N  obj
 G  c1
 G  c2
COLUMNS
    x1  obj  -0.8
    x2  c1  1
    x3  obj  0.2
    x3  c2  1
BOUNDS
 UP bnd  x1  100
 UP bnd  x2  100
 UP bnd  x3  10
NLCOEFFICIENTS
    c1  =  -1  exp(x1)
    c2  =  -1  exp(x2)
INITIALVALUES
    x1  0
    x2  1.05
    x3  2.9
ENDATA
