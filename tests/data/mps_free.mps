NAME free_format
ROWS
 N obj
 L c1
COLUMNS
 a_long_column_name obj 1 c1 1
 b obj -1 c1 2
RHS
 rhs c1 4
ENDATA
