// A name that only contains the table's name is not the table.
int gESHFTCount = 0;
