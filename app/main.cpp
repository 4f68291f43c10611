// The media compressor module's process.
#include "app/Process.h"

int main(int argc, char** argv) {
    return RunMain(argc, argv);
}
