// Writes the page that describes all findings to the file that the argument names.

#include <kiln_prefab/reports/rule_text.h>

#include <cstdlib>
#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_findings_page FILE\n";
        return EXIT_FAILURE;
    }
    std::ofstream file(argv[1], std::ios::binary);
    file << Kiln::PrefabTool::findingsPage();
    file.close();
    if (!file) {
        std::cerr << "write_findings_page: cannot write '" << argv[1] << "'\n";
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
