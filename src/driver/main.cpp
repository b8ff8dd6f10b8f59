#include "driver/nxopt.h"
#include "driver/safealloc.h"
#include "driver/signals.h"

int main(int argc, char** argv) {
    install_signal_handlers(argc > 0 ? argv[0] : nullptr);
    end_run(nxopt_main(argc, argv));
}
