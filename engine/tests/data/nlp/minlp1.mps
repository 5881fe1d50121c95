* Integer nonlinear problem: the largest product x1*x2 of integers in the ellipse
* x1^2 + 2*x2^2 <= 30. Every point is checked by enumeration.
* optimum -9 tolerance 1e-6
* solution x1 3 x2 3
NAME minlp1
ROWS
 N  obj
 L  ellipse
COLUMNS
    MARKER  'MARKER'  'INTORG'
    x1  obj  0
    x2  obj  0
    MARKER  'MARKER'  'INTEND'
RHS
    rhs  ellipse  30
BOUNDS
 UP bnd  x1  10
 UP bnd  x2  10
NLCOEFFICIENTS
    obj  x1  -1  x2
    ellipse  =  1  x1^2 + 2*x2^2
INITIALVALUES
    x1  1
    x2  1
ENDATA
