// A program of the core and nothing else. It is linked with every object of the core, so it does not link
// when one of them uses something from outside the standard library.
int main() { return 0; }
