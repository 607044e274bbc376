#pragma once

namespace quillvane::ui {

// Registers the two display typefaces the application carries ("Anton" and "Permanent
// Marker") for this process, once; a file that is missing is passed over.
void registerFonts();

} // namespace quillvane::ui
