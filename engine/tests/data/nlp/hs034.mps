* Hock-Schittkowski problem 34 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, exp.
* optimum -0.83403244524795594 tolerance 1e-6
* solution x1 0.834032445247956 x2 2.302585092994046 x3 10
NAME hs034
ROWS
 N  obj
 G  c1
 G  c2
COLUMNS
    x1  obj  -1
    x2  c1  1
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
