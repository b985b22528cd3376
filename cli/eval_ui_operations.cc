// The operations of `quillhaven eval` on colours and sizes.
#include <array>

#include "cli/eval_operation.h"
#include "quillhaven/ui/values.h"

namespace quillhaven::cli {
namespace {

using ui::HueSaturationBrightness;

HueSaturationBrightness colorFrom(const Arguments& arguments) {
  return {arguments.number("hue"), arguments.number("saturation"),
          arguments.number("brightness"), arguments.number("alpha")};
}

void writeColor(const HueSaturationBrightness& color, JsonWriter& result) {
  result.beginObject();
  result.key("hue");
  result.value(color.hue);
  result.key("saturation");
  result.value(color.saturation);
  result.key("brightness");
  result.value(color.brightness);
  result.key("alpha");
  result.value(color.alpha);
  result.endObject();
}

void lighten(const Arguments& arguments, JsonWriter& result) {
  const HueSaturationBrightness color = colorFrom(arguments);
  writeColor(ui::lighten(color, arguments.number("by")), result);
}

void darken(const Arguments& arguments, JsonWriter& result) {
  const HueSaturationBrightness color = colorFrom(arguments);
  writeColor(ui::darken(color, arguments.number("by")), result);
}

ui::Size sizeFrom(const Arguments& arguments, std::string_view name) {
  const std::array<double, 2> size = arguments.twoNumbers(name);
  return {size[0], size[1]};
}

void scale(const Arguments& arguments, JsonWriter& result) {
  const ui::Size from = sizeFrom(arguments, "from");
  const ui::Size size =
      ui::proportionallyScale(from, sizeFrom(arguments, "toSize"));
  result.beginArray();
  result.value(size.width);
  result.value(size.height);
  result.endArray();
}

constexpr EvalOperation kOperations[] = {
    {"lighten", lighten},
    {"darken", darken},
    {"proportionallyScale", scale},
};

}  // namespace

std::span<const EvalOperation> uiOperations() { return kOperations; }

}  // namespace quillhaven::cli
