// How an in-place engine treats the block it is given: after a discontinuity, in ordinary
// streaming, or while rendering the tail after the end of the stream.
#pragma once

enum QxRunMode : int {
  RunFresh = 0,     // applying parameters clears the delay lines and resets their positions
  RunContinue = 1,  // lines keep their content unless their length changes
  RunTail = 2,      // the buffer holds silence; per-channel tail counters run down
};
