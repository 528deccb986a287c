// The registry of live window handles, the per-thread message queues behind them, and message
// retrieval: posted messages first, then painting, then timers, waiting on the clock or a host.
#include "platform/ui/window.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <unordered_map>

#include "platform/ui/window_internal.h"

BOOL IsDialogMessage(HWND dialog, MSG* msg);

namespace qxui {
namespace {

struct MessageQueue {
  std::mutex lock;
  std::condition_variable wake;
  std::deque<MSG> messages;
  int fd = -1;  // eventfd, once a native host waits with poll()
  ~MessageQueue() {
    if (fd >= 0) close(fd);
  }
};

struct WindowRecord {
  DWORD owner;
  std::unique_ptr<Wnd> wnd;  // null for a bare handle
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

DWORD RealMs() {
  using namespace std::chrono;
  return static_cast<DWORD>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// Per thread: its identifier, its queue once it has one, and its window state; all go with the
// thread, and so do the windows it still owns.
struct ThreadState {
  DWORD id = nextThreadId++;
  std::shared_ptr<MessageQueue> queue;
  ThreadUi ui;
  ~ThreadState() {
    std::vector<std::unique_ptr<Wnd>> dead;
    {
      Registry& r = Reg();
      std::lock_guard<std::mutex> g(r.lock);
      for (auto it = r.windows.begin(); it != r.windows.end();) {
        if (it->second.owner == id) {
          dead.push_back(std::move(it->second.wnd));
          it = r.windows.erase(it);
        } else {
          ++it;
        }
      }
      r.queues.erase(id);
    }
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

bool Post(const std::shared_ptr<MessageQueue>& q, const MSG& m) {
  if (!q) return false;
  {
    std::lock_guard<std::mutex> g(q->lock);
    q->messages.push_back(m);
    if (q->fd >= 0) {
      uint64_t one = 1;
      (void)!write(q->fd, &one, sizeof one);
    }
  }
  q->wake.notify_all();
  return true;
}

std::shared_ptr<MessageQueue> QueueOfWindow(HWND hwnd) {
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  auto it = r.windows.find(hwnd);
  if (it == r.windows.end()) return nullptr;
  auto qi = r.queues.find(it->second.owner);
  return qi == r.queues.end() ? nullptr : qi->second;
}

bool Matches(const MSG& m, HWND hwnd, UINT first, UINT last) {
  if (hwnd && m.hwnd != hwnd) return false;
  if (first == 0 && last == 0) return true;
  return m.message >= first && m.message <= last;
}

bool InRange(UINT msg, UINT first, UINT last) { return (first == 0 && last == 0) || (msg >= first && msg <= last); }

// The queued message that matches, taken out or left; WM_QUIT matches whatever the filter when
// `quitAlways`.
bool TakeQueued(MSG* msg, HWND hwnd, UINT first, UINT last, bool remove, bool quitAlways) {
  MessageQueue& q = OwnQueue();
  std::lock_guard<std::mutex> g(q.lock);
  for (auto it = q.messages.begin(); it != q.messages.end(); ++it) {
    if (!(quitAlways && it->message == WM_QUIT) && !Matches(*it, hwnd, first, last)) continue;
    *msg = *it;
    if (remove) q.messages.erase(it);
    return true;
  }
  return false;
}

bool TakeTimer(MSG* msg, HWND hwnd, UINT first, UINT last, bool remove) {
  if (!InRange(WM_TIMER, first, last)) return false;
  ThreadUi& ui = Ui();
  DWORD now = Now();
  Timer* best = nullptr;
  for (Timer& t : ui.timers) {
    if (hwnd && t.hwnd != hwnd) continue;
    if (static_cast<int32_t>(now - t.due) < 0) continue;
    if (!best || static_cast<int32_t>(t.due - best->due) < 0) best = &t;
  }
  if (!best) return false;
  *msg = MSG{best->hwnd, WM_TIMER, best->id, reinterpret_cast<LPARAM>(best->proc), now, ui.cursorPos};
  if (remove) best->due = now + std::max<UINT>(best->elapse, 1);
  return true;
}

// Milliseconds until the next timer is due (0 if one is due), -1 with no timers.
long NextTimerIn() {
  ThreadUi& ui = Ui();
  if (ui.timers.empty()) return -1;
  DWORD now = Now();
  long best = -1;
  for (const Timer& t : ui.timers) {
    long d = std::max<long>(0, static_cast<int32_t>(t.due - now));
    if (best < 0 || d < best) best = d;
  }
  return best;
}

void PumpSources() {
  // Copy: a pump may add or remove sources.
  std::vector<NativeSource> sources = Ui().sources;
  for (auto& s : sources) s.pump();
}

// Blocks until a message may be there: a post, a native event, or the next timer.
void WaitForInput() {
  ThreadUi& ui = Ui();
  if (ui.idleHook && ui.idleHook()) return;
  long timeout = NextTimerIn();
  if (ui.virtualClock && timeout >= 0) {
    ui.virtualNow += static_cast<DWORD>(timeout);  // virtual time jumps to the next timer
    return;
  }
  PresentAll();
  MessageQueue& q = OwnQueue();
  if (ui.sources.empty()) {
    std::unique_lock<std::mutex> g(q.lock);
    auto ready = [&] { return !q.messages.empty(); };
    if (timeout < 0) q.wake.wait(g, ready);
    else q.wake.wait_for(g, std::chrono::milliseconds(timeout), ready);
    return;
  }
  // Presenting may have made the display read events into its own queue, which poll() cannot see.
  PumpSources();
  std::vector<pollfd> fds;
  for (auto& s : ui.sources) fds.push_back(pollfd{s.fd, POLLIN, 0});
  fds.push_back(pollfd{q.fd, POLLIN, 0});
  {
    std::lock_guard<std::mutex> g(q.lock);
    if (!q.messages.empty()) return;
  }
  // Bounded, in case a library call between here and there buffered events unseen.
  poll(fds.data(), fds.size(), timeout < 0 || timeout > 100 ? 100 : static_cast<int>(timeout));
  uint64_t n;
  if (fds.back().revents & POLLIN) (void)!read(q.fd, &n, sizeof n);
}

}  // namespace

ThreadUi& Ui() { return Self().ui; }
DWORD Now() {
  ThreadUi& ui = Ui();
  return ui.virtualClock ? ui.virtualNow : RealMs();
}

Wnd* Find(HWND h) {
  if (!h) return nullptr;
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  auto it = r.windows.find(h);
  return it == r.windows.end() ? nullptr : it->second.wnd.get();
}

HWND Register(std::unique_ptr<Wnd> w) {
  DWORD self = Self().id;
  OwnQueue();
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  HWND h = reinterpret_cast<HWND>(r.nextHandle);
  r.nextHandle += 4;
  if (w) {
    w->h = h;
    w->thread = self;
  }
  r.windows.emplace(h, WindowRecord{self, std::move(w)});
  return h;
}

// The record lives on in the thread's graveyard until the outermost message call returns, so a
// procedure further up the stack never holds a dangling record.
void Unregister(HWND h) {
  std::unique_ptr<Wnd> dead;
  std::shared_ptr<MessageQueue> q;
  {
    Registry& r = Reg();
    std::lock_guard<std::mutex> g(r.lock);
    auto it = r.windows.find(h);
    if (it == r.windows.end()) return;
    dead = std::move(it->second.wnd);
    auto qi = r.queues.find(it->second.owner);
    if (qi != r.queues.end()) q = qi->second;
    r.windows.erase(it);
  }
  if (q) {
    std::lock_guard<std::mutex> g(q->lock);
    q->messages.erase(std::remove_if(q->messages.begin(), q->messages.end(), [h](const MSG& m) { return m.hwnd == h; }),
                      q->messages.end());
  }
  if (dead) Self().ui.graveyard.push_back(std::move(dead));
  if (Self().ui.depth == 0) Self().ui.graveyard.clear();
}

bool PostFull(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, POINT pt) {
  auto q = QueueOfWindow(hwnd);
  return q && Post(q, MSG{hwnd, msg, wParam, lParam, Now(), pt});
}

void EnableQueueFd() {
  MessageQueue& q = OwnQueue();
  std::lock_guard<std::mutex> g(q.lock);
  if (q.fd < 0) q.fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}
int QueueFd() { return OwnQueue().fd; }

}  // namespace qxui

using namespace qxui;

DWORD GetCurrentThreadId() { return Self().id; }
DWORD GetTickCount() { return Now(); }
DWORD GetMessageTime() { return Ui().msgTime; }
DWORD GetMessagePos() { return MAKELONG(static_cast<WORD>(Ui().msgPos.x), static_cast<WORD>(Ui().msgPos.y)); }

HWND CreateWindowHandle() { return Register(nullptr); }

BOOL IsWindow(HWND hwnd) {
  if (!hwnd) return FALSE;
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  auto it = r.windows.find(hwnd);
  return it != r.windows.end() && !(it->second.wnd && it->second.wnd->destroying) ? TRUE : FALSE;
}

DWORD GetWindowThreadId(HWND hwnd) {
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  auto it = r.windows.find(hwnd);
  return it == r.windows.end() ? 0 : it->second.owner;
}

BOOL PostMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto q = QueueOfWindow(hwnd);
  if (!q) return FALSE;
  DWORD t = GetWindowThreadId(hwnd) == Self().id ? Now() : RealMs();
  return Post(q, MSG{hwnd, msg, wParam, lParam, t, POINT{0, 0}}) ? TRUE : FALSE;
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
  return Post(q, MSG{nullptr, msg, wParam, lParam, RealMs(), POINT{0, 0}}) ? TRUE : FALSE;
}

void PostQuitMessage(int exitCode) {
  OwnQueue();
  Post(Self().queue, MSG{nullptr, WM_QUIT, static_cast<WPARAM>(exitCode), 0, Now(), POINT{0, 0}});
}

BOOL PeekMessage(MSG* msg, HWND hwnd, UINT first, UINT last, UINT removeFlags) {
  if (!msg) return FALSE;
  bool remove = removeFlags & PM_REMOVE;
  PumpSources();
  if (TakeQueued(msg, hwnd, first, last, remove, false)) return TRUE;
  if (InRange(WM_PAINT, first, last) && NextPaint(msg, hwnd)) return TRUE;
  if (TakeTimer(msg, hwnd, first, last, remove)) return TRUE;
  PresentAll();
  return FALSE;
}

BOOL GetMessage(MSG* msg, HWND hwnd, UINT first, UINT last) {
  if (!msg) return -1;
  if (hwnd && GetWindowThreadId(hwnd) != Self().id) return -1;
  for (;;) {
    PumpSources();
    if (TakeQueued(msg, hwnd, first, last, true, true)) return msg->message == WM_QUIT ? FALSE : TRUE;
    if (InRange(WM_PAINT, first, last) && NextPaint(msg, hwnd)) return TRUE;
    if (TakeTimer(msg, hwnd, first, last, true)) return TRUE;
    WaitForInput();
  }
}

LRESULT SendMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Wnd* w = Find(hwnd);
  if (!w || w->thread != Self().id) return 0;
  WNDPROC proc = w->proc ? w->proc : DefWindowProc;
  ThreadUi& ui = Ui();
  ++ui.depth;
  LRESULT r = proc(hwnd, msg, wParam, lParam);
  if (--ui.depth == 0) ui.graveyard.clear();
  return r;
}

LRESULT CallWindowProc(WNDPROC proc, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (!proc) return 0;
  ThreadUi& ui = Ui();
  ++ui.depth;
  LRESULT r = proc(hwnd, msg, wParam, lParam);
  if (--ui.depth == 0) ui.graveyard.clear();
  return r;
}

LRESULT DispatchMessage(const MSG* msg) {
  if (!msg) return 0;
  ThreadUi& ui = Ui();
  ui.msgTime = msg->time;
  ui.msgPos = msg->pt;
  if (msg->message == WM_TIMER && msg->lParam) {
    reinterpret_cast<TIMERPROC>(msg->lParam)(msg->hwnd, WM_TIMER, msg->wParam, msg->time);
    return 0;
  }
  LRESULT r = SendMessage(msg->hwnd, msg->message, msg->wParam, msg->lParam);
  // A window that does not validate what it was asked to paint is not asked again.
  if (msg->message == WM_PAINT) ValidateRect(msg->hwnd, nullptr);
  return r;
}

// Key-down messages carry the character they type above bit 32 of lParam, where the platform's
// key flags end.
BOOL TranslateMessage(const MSG* msg) {
  if (!msg || (msg->message != WM_KEYDOWN && msg->message != WM_SYSKEYDOWN)) return FALSE;
  uint32_t ch = static_cast<uint32_t>(static_cast<uint64_t>(msg->lParam) >> 32) & 0x1FFFFF;
  if (!ch) return FALSE;
  UINT charMsg = msg->message == WM_KEYDOWN ? WM_CHAR : WM_SYSCHAR;
  return PostFull(msg->hwnd, charMsg, ch, msg->lParam & 0xFFFFFFFF, msg->pt) ? TRUE : FALSE;
}

BOOL WaitMessage() {
  WaitForInput();
  return TRUE;
}

int QxUi_ProcessMessages() {
  int n = 0;
  MSG m;
  while (PeekMessage(&m, nullptr, 0, 0, PM_NOREMOVE)) {
    if (m.message == WM_QUIT) break;  // left for the caller's GetMessage loop
    PeekMessage(&m, nullptr, 0, 0, PM_REMOVE);
    ++n;
    HWND dlg = DialogOf(m.hwnd);
    HWND top = dlg;
    while (top && DialogOf(GetParent(top)) && (GetWindowLong(top, GWL_STYLE) & WS_CHILD)) top = DialogOf(GetParent(top));
    if (top && IsDialogMessage(top, &m)) continue;
    TranslateMessage(&m);
    DispatchMessage(&m);
  }
  return n;
}
