#include "driver/nxopt.h"
#include "driver/safealloc.h"

int main(int argc, char** argv) { end_run(nxopt_main(argc, argv)); }
