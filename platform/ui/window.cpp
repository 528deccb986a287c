// The registry of live window handles and the per-thread message queues behind them.
// One lock guards the registry; each queue has its own lock and wakes its thread's GetMessage.
#include "platform/ui/window.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace {

struct MessageQueue {
  std::mutex lock;
  std::condition_variable wake;
  std::deque<MSG> messages;
};

struct WindowRecord {
  DWORD owner;
  // Later pieces (class, procedure, user data) hang here.
};

// Never destroyed, so handles stay valid while other threads' destructors run at exit.
struct Registry {
  std::mutex lock;
  std::unordered_map<HWND, WindowRecord> windows;
  std::unordered_map<DWORD, std::shared_ptr<MessageQueue>> queues;
  uintptr_t nextHandle = 0x10000;
};

Registry& Reg() {
  static Registry* r = new Registry;
  return *r;
}

std::atomic<DWORD> nextThreadId{1};

DWORD NowMs() {
  using namespace std::chrono;
  return static_cast<DWORD>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// Per thread: its identifier and, once it has one, its queue; both go with the thread, and so do
// the windows it still owns.
struct ThreadState {
  DWORD id = nextThreadId++;
  std::shared_ptr<MessageQueue> queue;
  ~ThreadState() {
    Registry& r = Reg();
    std::lock_guard<std::mutex> g(r.lock);
    for (auto it = r.windows.begin(); it != r.windows.end();) {
      if (it->second.owner == id) it = r.windows.erase(it);
      else ++it;
    }
    r.queues.erase(id);
  }
};

ThreadState& Self() {
  thread_local ThreadState state;
  return state;
}

MessageQueue& OwnQueue() {
  ThreadState& self = Self();
  if (!self.queue) {
    auto q = std::make_shared<MessageQueue>();
    Registry& r = Reg();
    std::lock_guard<std::mutex> g(r.lock);
    r.queues[self.id] = q;
    self.queue = std::move(q);
  }
  return *self.queue;
}

bool Post(const std::shared_ptr<MessageQueue>& q, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (!q) return false;
  {
    std::lock_guard<std::mutex> g(q->lock);
    q->messages.push_back(MSG{hwnd, msg, wParam, lParam, NowMs(), POINT{0, 0}});
  }
  q->wake.notify_all();
  return true;
}

bool Matches(const MSG& m, HWND hwnd, UINT first, UINT last) {
  if (hwnd && m.hwnd != hwnd) return false;
  if (first == 0 && last == 0) return true;
  return m.message >= first && m.message <= last;
}

}  // namespace

DWORD GetCurrentThreadId() { return Self().id; }

HWND CreateWindowHandle() {
  DWORD self = Self().id;
  OwnQueue();
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  HWND h = reinterpret_cast<HWND>(r.nextHandle);
  r.nextHandle += 4;
  r.windows.emplace(h, WindowRecord{self});
  return h;
}

BOOL DestroyWindow(HWND hwnd) {
  DWORD self = Self().id;
  std::shared_ptr<MessageQueue> q;
  {
    Registry& r = Reg();
    std::lock_guard<std::mutex> g(r.lock);
    auto it = r.windows.find(hwnd);
    if (it == r.windows.end() || it->second.owner != self) return FALSE;
    r.windows.erase(it);
    auto qi = r.queues.find(self);
    if (qi != r.queues.end()) q = qi->second;
  }
  if (q) {
    std::lock_guard<std::mutex> g(q->lock);
    q->messages.erase(std::remove_if(q->messages.begin(), q->messages.end(),
                                     [hwnd](const MSG& m) { return m.hwnd == hwnd; }),
                      q->messages.end());
  }
  return TRUE;
}

BOOL IsWindow(HWND hwnd) {
  if (!hwnd) return FALSE;
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  return r.windows.count(hwnd) ? TRUE : FALSE;
}

DWORD GetWindowThreadId(HWND hwnd) {
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  auto it = r.windows.find(hwnd);
  return it == r.windows.end() ? 0 : it->second.owner;
}

BOOL PostMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  std::shared_ptr<MessageQueue> q;
  {
    Registry& r = Reg();
    std::lock_guard<std::mutex> g(r.lock);
    auto it = r.windows.find(hwnd);
    if (it == r.windows.end()) return FALSE;
    auto qi = r.queues.find(it->second.owner);
    if (qi == r.queues.end()) return FALSE;
    q = qi->second;
  }
  return Post(q, hwnd, msg, wParam, lParam) ? TRUE : FALSE;
}

BOOL PostThreadMessage(DWORD threadId, UINT msg, WPARAM wParam, LPARAM lParam) {
  std::shared_ptr<MessageQueue> q;
  {
    Registry& r = Reg();
    std::lock_guard<std::mutex> g(r.lock);
    auto qi = r.queues.find(threadId);
    if (qi == r.queues.end()) return FALSE;
    q = qi->second;
  }
  return Post(q, nullptr, msg, wParam, lParam) ? TRUE : FALSE;
}

void PostQuitMessage(int exitCode) {
  MessageQueue& q = OwnQueue();
  {
    std::lock_guard<std::mutex> g(q.lock);
    q.messages.push_back(MSG{nullptr, WM_QUIT, static_cast<WPARAM>(exitCode), 0, NowMs(), POINT{0, 0}});
  }
  q.wake.notify_all();
}

BOOL PeekMessage(MSG* msg, HWND hwnd, UINT first, UINT last, UINT removeFlags) {
  if (!msg) return FALSE;
  MessageQueue& q = OwnQueue();
  std::lock_guard<std::mutex> g(q.lock);
  for (auto it = q.messages.begin(); it != q.messages.end(); ++it) {
    if (!Matches(*it, hwnd, first, last)) continue;
    *msg = *it;
    if (removeFlags & PM_REMOVE) q.messages.erase(it);
    return TRUE;
  }
  return FALSE;
}

BOOL GetMessage(MSG* msg, HWND hwnd, UINT first, UINT last) {
  if (!msg) return -1;
  if (hwnd && GetWindowThreadId(hwnd) != Self().id) return -1;
  MessageQueue& q = OwnQueue();
  std::unique_lock<std::mutex> g(q.lock);
  for (;;) {
    for (auto it = q.messages.begin(); it != q.messages.end(); ++it) {
      // WM_QUIT ends the loop whatever the filter.
      if (it->message != WM_QUIT && !Matches(*it, hwnd, first, last)) continue;
      *msg = *it;
      q.messages.erase(it);
      return msg->message == WM_QUIT ? FALSE : TRUE;
    }
    q.wake.wait(g);
  }
}
