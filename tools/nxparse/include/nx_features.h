/* Which names the headers show, as the language standard and the usual feature macros ask for it:
   NX_C99, NX_C11    what that standard added to the library
   NX_EXTRA          names that no C standard has but that most systems do */
#ifndef _NX_FEATURES_H
#define _NX_FEATURES_H
#if !defined __STRICT_ANSI__ || defined _GNU_SOURCE || defined _DEFAULT_SOURCE || defined _BSD_SOURCE ||               \
    defined _SVID_SOURCE || defined _POSIX_C_SOURCE || defined _POSIX_SOURCE || defined _XOPEN_SOURCE
#define NX_EXTRA 1
#endif
#if defined NX_EXTRA || (defined __STDC_VERSION__ && __STDC_VERSION__ >= 199901L)
#define NX_C99 1
#endif
#if !defined __STRICT_ANSI__ || defined _GNU_SOURCE || (defined __STDC_VERSION__ && __STDC_VERSION__ >= 201112L)
#define NX_C11 1
#endif
#endif
