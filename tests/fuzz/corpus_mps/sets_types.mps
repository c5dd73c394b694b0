NAME sets
ROWS
 N obj
 L c1
COLUMNS
    MARKER  'MARKER'  'INTORG'
    x  obj  1  c1  1
    MARKER  'MARKER'  'INTEND'
    y  obj  1  c1  1
    z  c1  1
RHS
    rhs  c1  1
BOUNDS
 UI bnd x 4
 SC bnd y 3
 BV bnd z
SOS
 S2
    z  3
    x  1
    y  2
ENDATA
