// One include for the media graph base classes: types, interfaces, samples, filters and pins.
// Effects include this; hosts add wav_source.h, wav_sink.h and graph_runner.h.
#pragma once
#include "platform/mediagraph/base_filter.h"
#include "platform/mediagraph/crit_sec.h"
#include "platform/mediagraph/interfaces.h"
#include "platform/mediagraph/media_type.h"
#include "platform/mediagraph/sample.h"
#include "platform/mediagraph/trans_in_place.h"
#include "platform/mediagraph/transform_filter.h"
