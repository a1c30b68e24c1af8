#include "admin/CommandLine.h"

int main(int argc, char** argv) {
    return admin::runCommandLine(argc, argv);
}
