// Calls the engine table directly.
void raw() {
    gESHFT->newContext("App", nullptr);
}
