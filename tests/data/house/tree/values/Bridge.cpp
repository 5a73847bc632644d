// The bridge owns the table.
void bridge() {
    gESHFT->defaultContext();
}
