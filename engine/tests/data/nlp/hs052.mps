* Hock-Schittkowski problem 52 (W. Hock, K. Schittkowski, Test Examples for
* Nonlinear Programming Codes, 1981): linear equalities.
* optimum 5.3266475644699140 tolerance 1e-6
* solution x1 -0.09455587392550144 x2 0.03151862464183381 x3 0.5157593123209169 x4 -0.45272206303724927 x5 0.03151862464183381
NAME hs052
ROWS
 N  obj
 E  c1
 E  c2
 E  c3
COLUMNS
    x1  c1  1
    x2  c1  3
    x2  c3  1
    x3  c2  1
    x4  c2  1
    x5  c2  -2
    x5  c3  -1
BOUNDS
 FR bnd  x1
 FR bnd  x2
 FR bnd  x3
 FR bnd  x4
 FR bnd  x5
NLCOEFFICIENTS
    obj  =  1  (4*x1 - x2)^2 + (x2 + x3 - 2)^2 + (x4 - 1)^2 + (x5 - 1)^2
INITIALVALUES
    x1  2
    x2  2
    x3  2
    x4  2
    x5  2
ENDATA
