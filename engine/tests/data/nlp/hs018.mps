* Hock-Schittkowski problem 18 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): inequality, bounds.
* optimum 5 tolerance 1e-6
* solution x1 15.811388300841896 x2 1.5811388300841898
NAME hs018
ROWS
 N  obj
 G  c1
 G  c2
COLUMNS
    x1  obj  0
    x2  obj  0
RHS
    rhs  c1  25
    rhs  c2  25
BOUNDS
 UP bnd  x1  50
 LO bnd  x1  2
 UP bnd  x2  50
NLCOEFFICIENTS
    obj  =  1  0.01*x1^2 + x2^2
    c1  =  1  x1*x2
    c2  =  1  x1^2 + x2^2
INITIALVALUES
    x1  2
    x2  2
ENDATA
