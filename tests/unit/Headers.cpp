// Holds the precompiled headers of all test binaries; a program, so that it is compiled as they
// are.

int main() {
    return 0;
}
