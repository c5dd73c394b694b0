NAME          production  Iterations 6  Rows 6  Cols 4
 XL tables    packing
 XL chairs    van
 XL desks     dining
ENDATA
