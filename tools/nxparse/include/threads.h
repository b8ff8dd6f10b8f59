#error "threads.h: the machine has no threads (__STDC_NO_THREADS__ says so)"
