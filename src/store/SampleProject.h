#pragma once

#include "model/Records.h"

namespace quillvane {

// The project a first start shows, so every screen has something real to work on.
Project sampleProject();

} // namespace quillvane
