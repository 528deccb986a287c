// Registers the Logo strip's art as PNG bitmap resources of the module, as LoadImageW finds them.
#include "aplugins/qxppack1/pages/page_art.h"

#include <vector>

#include "aplugins/qxppack1/pages/art/strip_art.h"

namespace {

cairo_status_t Append(void* closure, const unsigned char* data, unsigned int length) {
  auto* out = static_cast<std::vector<unsigned char>*>(closure);
  out->insert(out->end(), data, data + length);
  return CAIRO_STATUS_SUCCESS;
}

BOOL Register(HINSTANCE module, int id, cairo_surface_t* picture) {
  std::vector<unsigned char> png;
  bool ok = cairo_surface_status(picture) == CAIRO_STATUS_SUCCESS &&
            cairo_surface_write_to_png_stream(picture, Append, &png) == CAIRO_STATUS_SUCCESS;
  cairo_surface_destroy(picture);
  return ok && QxUi_AddBitmapResource(module, id, png.data(), png.size());
}

}  // namespace

BOOL QxPages_AddArtResources(HINSTANCE module) {
  BOOL ok = Register(module, QX_ART_STRIP_BACKGROUND, QxArt_StripBackground());
  ok &= Register(module, QX_ART_STRIP_PICTURES, QxArt_StripPictures());
  ok &= Register(module, QX_ART_STRIP_EMBLEM, QxArt_StripEmblem());
  return ok;
}
