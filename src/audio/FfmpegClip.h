#pragma once

// Kept for the audio library's own includes: the FFmpeg audio helpers live with the shared
// FFmpeg plumbing, since the exporter needs them too.

#include "av/AudioClip.h"
