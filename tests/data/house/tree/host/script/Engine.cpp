// The host's engine may name its own table.
void install() {
    gESHFT = nullptr;
}
