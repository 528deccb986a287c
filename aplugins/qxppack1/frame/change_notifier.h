// Two registered windows that hear of parameter and format changes through posted WM_COMMAND
// messages: low word the window's command identifier, high word the change code.
#pragma once
#include <cstdint>

#include "platform/com/hresult.h"
#include "platform/ui/window.h"

// Codes carried in the high word.
inline constexpr uint16_t QX_CHANGE_INPUT_FORMAT = 0;
inline constexpr uint16_t QX_CHANGE_SET_PARAM = 0;      // a host set one parameter
inline constexpr uint16_t QX_CHANGE_OUTPUT_FORMAT = 1;
inline constexpr uint16_t QX_CHANGE_ALL = 100;          // persistence load or preset

class CQxChangeNotifier {
 public:
  // Stores (window, id) in that window's slot or a free one; id 0 clears the window's slot.
  // Caller holds the engine lock.
  HRESULT Register(HWND window, uint16_t id);
  // Posts to each live window; a slot whose window is gone is cleared. Caller holds the engine lock.
  void Notify(uint16_t code);

 private:
  struct Slot {
    HWND window = nullptr;
    uint16_t id = 0;
  };
  Slot slots_[2];
};
