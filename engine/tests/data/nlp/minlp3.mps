* Integer nonlinear problem with a nonconvex objective: the integer point nearest to
* (3.4, -1.7) plus sin(x1*x2), in a disc and above a line. The optimum lies on the disc.
* optimum -0.5393582466233817 tolerance 1e-6
* solution x1 4 x2 -2
NAME minlp3
ROWS
 N  obj
 G  line
 L  disc
COLUMNS
    MARKER  'MARKER'  'INTORG'
    x1  line  1
    x2  line  1
    MARKER  'MARKER'  'INTEND'
RHS
    rhs  line  1
    rhs  disc  20
BOUNDS
 UP bnd  x1  5
 LO bnd  x1  -5
 UP bnd  x2  5
 LO bnd  x2  -5
NLCOEFFICIENTS
    obj  =  1  (x1 - 3.4)^2 + (x2 + 1.7)^2 + sin(x1*x2)
    disc  x1  1  x1
    disc  x2  1  x2
INITIALVALUES
    x1  0
    x2  1
ENDATA
