NAME          PRODPLAN
* A small production plan: three products, two machines, a set-up decision per product.
* Maximise profit; a product made at all needs its set-up (binary) and at least 5 units.
OBJSENSE
    MAX
ROWS
 N  PROFIT
 L  MACHINE1
 L  MACHINE2
 L  SETUP_A
 L  SETUP_B
 L  SETUP_C
 G  MIN_A
 G  MIN_B
 G  MIN_C
 L  SETUPS
COLUMNS
    MARKER                 'MARKER'                 'INTORG'
    MAKE_A    PROFIT       12             MACHINE1     2
    MAKE_A    MACHINE2     1              SETUP_A      1
    MAKE_A    MIN_A        1
    MAKE_B    PROFIT       9              MACHINE1     1
    MAKE_B    MACHINE2     2              SETUP_B      1
    MAKE_B    MIN_B        1
    MAKE_C    PROFIT       15             MACHINE1     3
    MAKE_C    MACHINE2     3              SETUP_C      1
    MAKE_C    MIN_C        1
    MARKER                 'MARKER'                 'INTEND'
    USE_A     PROFIT       -40            SETUP_A      -30
    USE_A     MIN_A        -5             SETUPS       1
    USE_B     PROFIT       -25            SETUP_B      -40
    USE_B     MIN_B        -5             SETUPS       1
    USE_C     PROFIT       -60            SETUP_C      -20
    USE_C     MIN_C        -5             SETUPS       1
RHS
    RHS       MACHINE1     60             MACHINE2     50
    RHS       SETUPS       2
BOUNDS
 UP BND       MAKE_A       30
 UP BND       MAKE_B       40
 UP BND       MAKE_C       20
 BV BND       USE_A
 BV BND       USE_B
 BV BND       USE_C
ENDATA
