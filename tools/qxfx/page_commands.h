// qxfx page and qxfx edit: an effect's property page, rendered headless (a PNG picture, or its
// controls as JSON) or opened as a window on the X display, over a filter the options set up.
#pragma once
#include <string>

#include "platform/com/unknown.h"
#include "tools/qxfx/cli.h"

// `filter` is made and set up by the effect options. page: --png FILE and/or --json. edit: OK
// writes --save-state FILE when given (exit 0); Cancel or closing the window writes nothing (exit 1
// when a state file was asked for). Answers the exit status; errors go to stderr.
int QxfxShowPage(IUnknown* filter, const std::string& effect, const QxfxCommandLine& cl);
