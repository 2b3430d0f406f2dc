// Links its libraries, and calls nothing in them.
int main() { }
