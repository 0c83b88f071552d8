// The library's life inside this host: what is set before birth, birth, limits, language, and the end.
#ifndef QLHOST_HOST_H
#define QLHOST_HOST_H

#include <string>

#include "Options.h"

namespace qlhost {

/// Sets the language that the options ask for; the library must be born. On failure `why` says what is wrong.
bool Speak(const RenderOptions& options, std::string& why);

class LibraryLife {
  public:
    /// Births the library on this thread and sets what the options say. On failure `why` says in one line what is
    /// wrong and the library is ended again.
    LibraryLife(const RenderOptions& options, std::string& why);
    ~LibraryLife();
    LibraryLife(const LibraryLife&) = delete;
    LibraryLife& operator=(const LibraryLife&) = delete;

    bool Born() const { return m_born; }

  private:
    bool m_born = false;
};

}  // namespace qlhost

#endif
