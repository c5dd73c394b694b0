NAME          BLANKS
ROWS
 N  obj
 L  r1
 G  r2
COLUMNS
    x         obj             1.   r1              1.
    x         r2              1.
    y         obj             2.   r1              3.
RHS
              r1             10.   r2              1.
RANGES
              r1              4.
BOUNDS
 UP           x               5.
 FR           y
ENDATA
