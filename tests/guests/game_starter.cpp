// Starts a game that is a shared library.

extern int listComponents();

int main() {
    return listComponents();
}
