#error "stdatomic.h: the machine has no atomic types (__STDC_NO_ATOMICS__ says so)"
