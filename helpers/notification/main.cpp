#include <iostream>
#include <string>
#include <vector>

#include "NotificationHelper.h"

int main(int argc, char** argv) {
    return nbx::notification::run(std::vector<std::string>(argv + 1, argv + argc), std::cerr);
}
