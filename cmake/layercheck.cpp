// An empty program, linked with the whole of one layer and the layers below it only, so that the
// build fails when a layer calls into a layer above it.
int main() { return 0; }
