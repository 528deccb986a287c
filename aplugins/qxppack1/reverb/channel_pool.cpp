// The channel fork-join: workers that sleep on a condition between rounds, a fixed share per lane,
// and the calling thread finishing whatever no worker has claimed.
#include "aplugins/qxppack1/reverb/channel_pool.h"

#include <sched.h>
#if defined(__SSE__)
#include <xmmintrin.h>
#endif

#include <algorithm>

namespace {
// The processor's floating-point control word (flush-to-zero, denormals-are-zero, rounding).
uint32_t ControlWord() {
#if defined(__SSE__)
  return _mm_getcsr();
#else
  return 0;
#endif
}

void SetControlWord(uint32_t word) {
#if defined(__SSE__)
  _mm_setcsr(word);
#else
  (void)word;
#endif
}

// Processors this process may run on (taskset and container limits count), at least 1.
int OpenProcessors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof set, &set) != 0) return 1;
  return std::max(1, CPU_COUNT(&set));
}
}  // namespace

bool CQxChannelPool::Worthwhile() {
  static const bool many = OpenProcessors() > 1;
  return many;
}

CQxChannelPool::~CQxChannelPool() {
  {
    std::lock_guard<std::mutex> g(lock_);
    quit_ = true;
  }
  wake_.notify_all();
  for (std::thread& t : workers_) t.join();
}

void CQxChannelPool::Start() {
  // One worker per further processor, up to a handful: channels beyond that wait their turn.
  const int workers = std::min(OpenProcessors() - 1, 7);
  lanes_ = 1;
  try {
    for (int w = 1; w <= workers; ++w) {
      workers_.emplace_back(&CQxChannelPool::Work, this, w);
      lanes_ = w + 1;
    }
  } catch (...) {
    // No thread to be had: the lanes started so far carry on, the caller does the rest.
  }
}

void CQxChannelPool::Run(int n, Call call, void* job) {
  n = std::clamp(n, 0, kMaxChannels);
  if (!started_ && n > 1) {
    started_ = true;
    Start();
  }
  for (int c = 0; c < n; ++c) claimed_[c].store(false, std::memory_order_relaxed);
  if (lanes_ > 1 && n > 1) {
    {
      std::lock_guard<std::mutex> g(lock_);
      ++round_;
      open_ = true;
      n_ = n;
      controlWord_ = ControlWord();
      call_ = call;
      job_ = job;
    }
    wake_.notify_all();
  }
  // Lane 0's own channels first, then every channel still unclaimed.
  for (int c = 0; c < n; c += lanes_)
    if (Claim(c)) call(job, c);
  for (int c = 0; c < n; ++c)
    if (Claim(c)) call(job, c);
  if (lanes_ > 1 && n > 1) {
    std::unique_lock<std::mutex> g(lock_);
    open_ = false;  // a worker waking from here on has nothing left to take
    idle_.wait(g, [&] { return active_ == 0; });
  }
}

void CQxChannelPool::Work(int lane) {
  uint64_t seen = 0;
  std::unique_lock<std::mutex> g(lock_);
  for (;;) {
    wake_.wait(g, [&] { return quit_ || (open_ && round_ != seen); });
    if (quit_) return;
    seen = round_;
    ++active_;
    const int n = n_, lanes = lanes_;
    const Call call = call_;
    void* const job = job_;
    const uint32_t word = controlWord_;
    g.unlock();
    SetControlWord(word);
    for (int c = lane; c < n; c += lanes)
      if (Claim(c)) call(job, c);
    g.lock();
    if (--active_ == 0) idle_.notify_one();
  }
}
