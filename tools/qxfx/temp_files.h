// qxfx's temporary files: every one is registered while it exists, so that an interrupted run
// (SIGINT, SIGTERM, SIGHUP, or SIGPIPE from a closed pipe) removes them before it dies and leaves no partial output behind.
#pragma once
#include <string>

// Installs the signal handlers; call once before any temporary file is made.
void QxfxInstallCleanup();
// Makes a new empty file from `pattern` (ending in XXXXXX) with the usual permissions of a new file
// and registers it; returns its path, or empty (errno set) when it cannot.
std::string QxfxMakeTemp(const std::string& pattern);
// Removes the file and forgets it.
void QxfxRemoveTemp(const std::string& path);
// Forgets the file without removing it (it has been renamed into place).
void QxfxKeepTemp(const std::string& path);
// Puts the finished temporary file in the place of `path`, in one step: a reader sees the old file
// or the new one, never a part. Over an existing regular file the two names are exchanged and the
// old content removed, because ext4 answers a rename over a file by writing the new one out at
// once, which costs a short run more than its processing; like cp and sox, qxfx leaves write-back
// to the system. False (errno set) when it cannot; the temporary file is then left registered.
bool QxfxPutInPlace(const std::string& temp, const std::string& path);
// The folder for temporary files that belong beside no output: $TMPDIR or /tmp.
std::string QxfxTempDir();
// Child processes of a batch: a signal that reaches qxfx is passed on to them.
void QxfxTrackChild(int pid);
void QxfxForgetChild(int pid);
// A new child forgets its parent's other children.
void QxfxForgetAllChildren();
// True once a signal has begun the cleanup.
bool QxfxInterrupted();
