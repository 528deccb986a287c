// What qxfx may do with a path it is given: read a small file whole with a size cap, and write an
// output either by replacing a regular file or by streaming into a device or pipe.
#pragma once
#include <cstddef>
#include <string>
#include <vector>

// Reads `path` whole when it is a regular file of at most `cap` bytes; otherwise false with a
// one-line reason naming it as `what` ("the state file", "the tempo map").
bool QxfxReadBoundedFile(const std::string& path, size_t cap, const std::string& what, std::vector<char>* bytes,
                         std::string* error);

enum class QxfxOutputKind {
  Replace,  // a regular file or a new name: written beside it and renamed over it
  Stream,   // a character device or a pipe: written through, never replaced
  Refuse,   // a directory, socket or block device: *error says so
};
// How an output at `path` is to be written; `what` names it in the error ("the output").
QxfxOutputKind QxfxOutputKindOf(const std::string& path, const std::string& what, std::string* error);
// Opens a Stream output for writing without creating or truncating anything; -1 with *error.
int QxfxOpenStream(const std::string& path, std::string* error);
