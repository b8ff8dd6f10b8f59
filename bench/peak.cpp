// nxpeak COMMAND [ARGUMENT...]: runs a command and prints its processor time in seconds and its peak memory in bytes.
//
// The kernel's figure for a process includes what its parent had in memory when it was forked, so the one who measures
// must be small; a script is not. The status is the command's, 126 if it was ended by a signal.
#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: nxpeak COMMAND [ARGUMENT...]\n");
        return 1;
    }
    // The command's own standard output must not mix with the figures.
    pid_t child = fork();
    if (child == 0) {
        int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, 1);
        execvp(argv[1], argv + 1);
        perror(argv[1]);
        _exit(127);
    }
    int status;
    rusage usage;
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        perror("nxpeak");
        return 125;
    }
    auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    printf("%.6f %ld\n", seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss * 1024L);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}
