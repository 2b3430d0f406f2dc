// Links what it is built with, and calls nothing of it.
int main() { }
