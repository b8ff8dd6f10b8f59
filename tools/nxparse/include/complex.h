#error "complex.h: complex types are not supported (__STDC_NO_COMPLEX__ says so)"
