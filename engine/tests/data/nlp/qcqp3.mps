* Convex quadratically constrained problem: min x + y + z over the ellipsoid
* x^2 + 2*y^2 + 3*z^2 <= 1, reached at -(1, 1/2, 1/3)/sqrt(11/6) with value -sqrt(11/6);
* the ball (x + 1)^2 + y^2 + z^2 <= 4 is not active there.
* optimum -1.35400640077266 tolerance 1e-6
* solution x -0.7385489458759964 y -0.3692744729379982 z -0.24618298195866548
NAME qcqp3
ROWS
 N  obj
 L  ellipsoid
 L  ball
COLUMNS
    x  obj  1  ball  2
    y  obj  1
    z  obj  1
RHS
    rhs  ellipsoid  1
    rhs  ball  3
BOUNDS
 FR bnd  x
 FR bnd  y
 FR bnd  z
QCMATRIX  ellipsoid
    x  x  1
    y  y  2
    z  z  3
QCMATRIX  ball
    x  x  1
    y  y  1
    z  z  1
ENDATA
