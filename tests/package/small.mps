* max x + y  s.t.  x + 2y <= 4,  3x + y <= 6: objective 2.8 at (1.6, 1.2).
NAME          small
OBJSENSE
    MAX
ROWS
 N  obj
 L  a
 L  b
COLUMNS
    x         obj       1            a         1
    x         b         3
    y         obj       1            a         2
    y         b         1
RHS
    rhs       a         4            b         6
ENDATA
