#include <iostream>
#include <string>
#include <vector>

#include "SetupHelper.h"

int main(int argc, char** argv) {
    return nbx::setup::run(std::vector<std::string>(argv + 1, argv + argc), std::cerr);
}
