// A fork-join over channels for one engine: each channel's share is fixed by its index (channel c
// to lane c mod lanes, the calling thread being lane 0), and the calling thread takes over any
// channel whose worker has not started it yet, so a worker that is slow to wake costs no waiting.
// Workers take the caller's floating-point control word for each round, so a channel computes the
// same bits whichever thread runs it.
#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

class CQxChannelPool {
 public:
  static constexpr int kMaxChannels = 32;

  CQxChannelPool() = default;
  ~CQxChannelPool();
  CQxChannelPool(const CQxChannelPool&) = delete;
  CQxChannelPool& operator=(const CQxChannelPool&) = delete;

  // Whether a fan-out can help at all: more than one processor is open to this process.
  static bool Worthwhile();

  // Runs job(c) once for every c in [0, n), n at most kMaxChannels, and returns when all are done.
  // Workers are started on the first call and sleep between calls; they never spin.
  template <class Job>
  void Run(int n, Job& job) {
    Run(n, [](void* j, int c) { (*static_cast<Job*>(j))(c); }, &job);
  }

 private:
  using Call = void (*)(void*, int);
  void Run(int n, Call call, void* job);
  void Start();
  void Work(int lane);
  bool Claim(int c) { return !claimed_[c].exchange(true, std::memory_order_acq_rel); }

  std::vector<std::thread> workers_;
  std::mutex lock_;
  std::condition_variable wake_;  // workers wait here for a new round
  std::condition_variable idle_;  // the caller waits here for the last worker to leave
  uint64_t round_ = 0;
  bool open_ = false;  // workers may join the current round
  bool quit_ = false;
  bool started_ = false;  // the streaming thread's alone
  int active_ = 0;     // workers inside the current round
  int lanes_ = 1;
  int n_ = 0;
  uint32_t controlWord_ = 0;  // the caller's, for the round
  Call call_ = nullptr;
  void* job_ = nullptr;
  std::atomic<bool> claimed_[kMaxChannels] = {};
};
