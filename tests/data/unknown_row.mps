NAME x
ROWS
 N obj
 L r1
COLUMNS
 x obj 1 r2 1
ENDATA
