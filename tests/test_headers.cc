// The program that the precompiled headers of the tests belong to; nobody runs it.

int main() { return 0; }
