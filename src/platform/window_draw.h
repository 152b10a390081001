#pragma once

#include "platform/window.h"
#include "vantel_formats.h"

/// Drawing into the client area of a window while it handles WM_PAINT; at any other time nothing happens. Colours are
/// 0xRRGGBB. Main thread.

enum THEME_COLOUR { COLOUR_FACE, COLOUR_TEXT, COLOUR_FIELD, COLOUR_FIELD_TEXT, COLOUR_SELECTED, COLOUR_SELECTED_TEXT };
uint32_t theme_colour(THEME_COLOUR colour);
bool theme_dark();

void draw_fill(WINDOW* window, const RECT& rect, uint32_t colour);
/// A picture: bottom-up rows of 24 bits (B, G, R), each ended at a multiple of 4 bytes, as header tells. source: a part
/// of it, counted from the top left. It is scaled to dest: smooth, or else by repeating pixels. Read during the call
/// only.
void draw_picture(WINDOW* window, const RECT& dest, const BITMAPINFOHEADER& header, const uint8_t* pixels,
                  const RECT& source, bool smooth);
/// An icon of resources/icons by name ("ICON_IN"), scaled to the rectangle.
void draw_icon(WINDOW* window, const RECT& rect, const char* icon);
void draw_edge(WINDOW* window, const RECT& rect, bool sunken);
enum TEXT_PLACE { TEXT_LEFT, TEXT_CENTRE, TEXT_RIGHT };
/// One line in the window's font, cut with an ellipsis, centred between top and bottom.
void draw_text(WINDOW* window, const RECT& rect, const std::string& text, uint32_t colour, TEXT_PLACE place);
POINT text_size(const WINDOW* window, const std::string& text);
