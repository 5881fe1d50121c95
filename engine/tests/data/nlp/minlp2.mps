* Integer nonlinear problem, maximised: concave returns ln(1 + x) of three integer
* quantities under a linear budget. The optimum is ln(1152) at the full budget.
* optimum 7.049254841255836 tolerance 1e-6
* solution x1 1 x2 2 x3 3
NAME minlp2
OBJSENSE
    MAX
ROWS
 N  value
 L  budget
COLUMNS
    MARKER  'MARKER'  'INTORG'
    x1  value  0  budget  2
    x2  value  0  budget  3
    x3  value  0  budget  4
    MARKER  'MARKER'  'INTEND'
RHS
    rhs  budget  20
BOUNDS
 UP bnd  x1  6
 UP bnd  x2  6
 UP bnd  x3  6
NLCOEFFICIENTS
    value  =  1  ln(1 + x1) + 2*ln(1 + x2) + 3*ln(1 + x3)
INITIALVALUES
    x1  0
    x2  0
    x3  0
ENDATA
