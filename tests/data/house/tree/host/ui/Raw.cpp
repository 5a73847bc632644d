// A host table other than the engine reaching for the engine table.
void ask() {
    gESHFT->defaultContext();
}
