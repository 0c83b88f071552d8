/// The mark of everything that leaves the shared library.
///
/// All code is compiled with hidden visibility; what carries this mark is exported, and nothing else. On ELF
/// the same mark serves the building and the using side, so a consumer needs no definition of its own.
#ifndef ZVKCORE_CONFIG_EXPORT_H
#define ZVKCORE_CONFIG_EXPORT_H

#define ZVKCORE_EXPORT __attribute__((visibility("default")))

#endif
