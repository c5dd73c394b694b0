NAME x
ROWS
 N obj
 L r1
COLUMNS
 x obj 1 r1 1.5.5
ENDATA
