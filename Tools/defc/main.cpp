// defc: compiles a definition file of our XML dialect into the binary tree the loader reads.
//   defc input.xml output.bin [depfile]
#include <cstdio>
#include <fstream>

#include "Tools/defc/CDefTreeWriter.h"
#include "Tools/defc/CXmlDefReader.h"

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: defc input.xml output.bin [depfile]\n");
        return 2;
    }
    orl::CXmlDefReader reader;
    orl::CDefcNode root;
    if (!reader.read(argv[1], root)) {
        std::fprintf(stderr, "defc: %s\n", reader.error().c_str());
        return 1;
    }
    orl::CDefTreeWriter writer;
    std::vector<uint8_t> bytes;
    if (!writer.write(root, bytes)) {
        std::fprintf(stderr, "defc: %s: %s\n", argv[1], writer.error().c_str());
        return 1;
    }
    std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        std::fprintf(stderr, "defc: cannot write %s\n", argv[2]);
        return 1;
    }
    if (argc == 4) {
        // A make-style dependency file, so that editing an included part rebuilds the tree.
        std::ofstream dep(argv[3], std::ios::trunc);
        dep << argv[2] << ":";
        for (const std::string& f : reader.filesRead()) dep << " \\\n  " << f;
        dep << "\n";
    }
    return 0;
}
