// CCritSec, the recursive lock of the filter classes, and CAutoLock, its scope guard.
// Recursive because the base classes re-enter their own locks (e.g. Stop calling Inactive).
#pragma once
#include <mutex>

class CCritSec {
 public:
  CCritSec() = default;
  CCritSec(const CCritSec&) = delete;
  CCritSec& operator=(const CCritSec&) = delete;
  void Lock() { m_.lock(); }
  void Unlock() { m_.unlock(); }
  // For std::lock_guard / std::unique_lock and condition_variable_any.
  void lock() { m_.lock(); }
  void unlock() { m_.unlock(); }
  bool try_lock() { return m_.try_lock(); }

 private:
  std::recursive_mutex m_;
};

class CAutoLock {
 public:
  explicit CAutoLock(CCritSec* lock) : lock_(lock) { lock_->Lock(); }
  ~CAutoLock() { lock_->Unlock(); }
  CAutoLock(const CAutoLock&) = delete;
  CAutoLock& operator=(const CAutoLock&) = delete;

 private:
  CCritSec* lock_;
};
