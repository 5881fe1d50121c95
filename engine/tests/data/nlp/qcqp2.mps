* Convex quadratically constrained problem: the point of the unit disc nearest to (2, 1),
* min (x - 2)^2 + (y - 1)^2, at (2, 1)/sqrt(5) with value 6 - 2*sqrt(5).
* optimum 1.5278640450004204 tolerance 1e-6
* solution x 0.8944271909999159 y 0.4472135954999579
NAME qcqp2
ROWS
 N  obj
 L  disc
COLUMNS
    x  obj  -4
    y  obj  -2
RHS
    rhs  obj  -5
    rhs  disc  1
BOUNDS
 FR bnd  x
 FR bnd  y
QUADOBJ
    x  x  2
    y  y  2
QCMATRIX  disc
    x  x  1
    y  y  1
INITIALVALUES
    x  2
    y  1
ENDATA
