/// What the library itself asks of the log.
#ifndef ALOGP_H
#define ALOGP_H

/// Whether a console log file stood when the log was first used: without one no line goes anywhere, so a
/// caller spares itself the making of a costly text.
bool ALOGp_HasLogFile() noexcept;

#endif
