NAME          damaged
ROWS
 N  obj
 L  c1
COLUMNS
    x         obj       1.5x         c1        1
RHS
    rhs       c1        4
ENDATA
