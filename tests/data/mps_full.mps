* A small model that uses every section of the format.
NAME          FULL
OBJSENSE
    MAX
ROWS
 N  COST
 L  LIM1
 G  LIM2
 E  MYEQN
 E  RNGE
 N  SPARE
COLUMNS
    X1        COST         1.0   LIM1         1.0
    X1        LIM2         1.0   SPARE        4.0
    MARKER                 'MARKER'                 'INTORG'
    X2        COST         2.0   LIM1         1.0
    X2        MYEQN       -1.0
    Y3        COST        -1e1   MYEQN        1.
    MARKER                 'MARKER'                 'INTEND'
    X4        COST         1     LIM2        -.5   $ trailing comment
    X4        RNGE         2.5
    X5        RNGE         1
RHS
    RHS       COST        99.0   LIM1         4.0
    RHS       LIM2         1.0   MYEQN        7.0
    RHS       RNGE         3
RANGES
    RNG       LIM1         2.5   MYEQN       -1.5
    RNG       RNGE         4
BOUNDS
 UP BND       X1           4.0
 MI BND       X2
 UP BND       X2           1
 UP BND       Y3          10
 FR BND       X4
 LO BND       X5          -1e+01
 UP BND       X5           1.5D1
ENDATA
