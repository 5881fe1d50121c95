* Convex quadratically constrained problem: the largest x + y in the ellipse
* x^2 + x*y + y^2 <= 3, reached at (1, 1) by symmetry.
* optimum -2 tolerance 1e-6
* solution x 1 y 1
NAME qcqp1
ROWS
 N  obj
 L  ellipse
COLUMNS
    x  obj  -1
    y  obj  -1
RHS
    rhs  ellipse  3
BOUNDS
 FR bnd  x
 FR bnd  y
QCMATRIX  ellipse
    x  x  1
    x  y  0.5
    y  x  0.5
    y  y  1
INITIALVALUES
    x  0
    y  0
ENDATA
