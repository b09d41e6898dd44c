// SPDX-License-Identifier: Apache-2.0
// Renders every specimen sheet into a folder, at both resolutions: for the pixel check, and to make the golden pictures
// anew (look at each before it is committed).

#include "tests/views/Specimens.h"
#include "tests/views/TextRendererSuppressions.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    sentrel::Specimens specimens;
    for (sentrel::Specimen& specimen : specimens.all()) {
        for (const int scale : {1, 2}) {
            const std::string path = std::string(argv[1]) + "/" + specimen.name + "@" + std::to_string(scale) + "x.png";
            if (!sentrel::render(specimen, path, scale)) {
                std::fprintf(stderr, "cannot write %s\n", path.c_str());
                return 1;
            }
        }
    }
    return 0;
}
