#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// A QR code (ISO/IEC 18004, model 2) in half blocks with its quiet zone of 4 modules, lines joined by line feeds. With
/// styles it is black on white on any terminal; without, light parts are drawn, as suits light text on dark. Empty when
/// the text is empty or too long.
std::string qr(std::string_view text, bool styles);

/// The columns that the drawing takes; 0 when there is none.
int qrColumns(std::string_view text);

} // namespace kestu
