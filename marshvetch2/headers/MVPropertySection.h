/// The property list of a plug-in file: how it is written by its author, and how it lies in the file.
///
/// A plug-in is listed without running any of its code: what a host must know before it loads the file stands in
/// a section of the shared object, named `MV_PROPERTY_SECTION`. `ql_add_plugin` of the CMake package compiles the
/// section from a text; this page is for who writes that text, and for who writes or reads the section otherwise.
///
/// **The text.** One property a line: a vendor of four characters, a key of four characters, an id, and the data.
/// Blank lines and what follows a `#` mean nothing. A code with a blank in it stands between quotes.
///
///     # vendor key id  data
///     CRVN name 0  text "Blur"                   the characters and a zero byte; no quote inside
///     CRVN AcpM 0  bytes 01                      bytes of two hexadecimal digits
///     CRVN adpt 0  int32 2                       numbers of 32 bits, also negative or 0x...
///     CRVN expt 0  exports "Blur" 2 "Sharpen" 1  names, each with its version
///     CRVN StsP 0  empty                         present, without data
///
/// The host knows these keys of the vendor "CRVN"; any other property is kept for who asks for it.
///
///   name   the plug-in's name, a text; without it the file's name up to its last dot
///   adpt   first word 2: this plug-in is an adapter, started before all others
///   AcpM   first byte: bit 0 starts it ahead of plain plug-ins, bit 1 spares it the shutdown message
///   expt   a list of exports: starts ahead of "AcpM", and on demand for an export (`MVStartupExport`)
///   StsP   present: starts ahead of "expt", and is told apart in a flush
///
/// **The section.** All numbers are little-endian words of 32 bits, whatever machine wrote them.
///
///     0   "MVPL"
///     4   version: MV_PROPERTY_SECTION_VERSION
///     8   count of properties
///     12  the properties, one after another, and nothing behind them but zero bytes
///
/// A property:
///
///     0   vendor: four characters
///     4   key: four characters
///     8   id, signed
///     12  length of the data in bytes
///     16  the data, followed by zero bytes up to the next multiple of 4
///
/// The data of an export list ("expt"): a count of entries, then for each entry
///
///     0         length: the bytes of the entry behind this word
///     4         the name, a zero byte, and zero bytes up to the next multiple of 4
///     length    version, signed; it ends the entry
///
/// Vendor, key and id together stand once in a list; the host's own keys have the id 0. The first section of this
/// name counts. It is of the kind PROGBITS and not compressed, aligned to 4, with the flag that keeps it from being
/// collected (`retain`). It is never written to, and `strip` leaves it alone.
#ifndef MV_PROPERTYSECTION_H
#define MV_PROPERTYSECTION_H

#define MV_PROPERTY_SECTION ".qlproplist"
#define MV_PROPERTY_SECTION_MAGIC "MVPL"
#define MV_PROPERTY_SECTION_VERSION 1
#define MV_PROPERTY_SECTION_MAX 1048576  ///< bytes; a larger section is refused
#define MV_PROPERTY_COUNT_MAX 1024       ///< properties; a list of more is refused

#endif
