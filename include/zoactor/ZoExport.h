// Symbol export for libzoactor.so. The library is built with hidden
// visibility; every public class and free function carries ZOACTOR_API.
#ifndef ZOACTOR_ZOEXPORT_H
#define ZOACTOR_ZOEXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define ZOACTOR_API __attribute__((visibility("default")))
#else
#define ZOACTOR_API
#endif

#endif
