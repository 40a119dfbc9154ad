/*
 * What the known types of structures consist of: the operations. The types themselves are in
 * layouts.cpp.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/layout.h"

#include <algorithm>
#include <array>

namespace tvq::table {
namespace {

struct KindFacts {
  std::size_t width;
  std::string_view name;
};

// In the order of FieldKind.
constexpr std::array<KindFacts, 12> kKinds = {{
    {1, "byte"},
    {2, "word"},
    {4, "dword"},
    {1, "byte"},
    {2, "word"},
    {4, "dword"},
    {8, "qword"},
    {2, "handle"},
    {1, "string"},
    {16, "UUID"},
    {1, "count of strings"},
    {1, "count of groups"},
}};

std::vector<Layout> MakeUnnamedLayouts() {
  std::vector<Layout> layouts(256);
  std::uint8_t type = 0;
  for (Layout& layout : layouts) {
    layout.type = type++;
  }
  return layouts;
}

}  // namespace

std::size_t WidthOf(FieldKind kind) {
  return kKinds[static_cast<std::size_t>(kind)].width;
}

std::string_view NameOf(FieldKind kind) {
  return kKinds[static_cast<std::size_t>(kind)].name;
}

std::size_t Group::Width() const {
  std::size_t width = 0;
  for (const FieldKind part : parts) {
    width += WidthOf(part);
  }
  return width;
}

const Field* Layout::Find(std::string_view fieldName) const {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const Field& field) { return field.name == fieldName; });
  return found == fields.end() ? nullptr : &*found;
}

std::size_t Layout::StandardSize(Version version) const {
  std::size_t size = smbios::kHeaderSize;
  for (const Field& field : fields) {
    if (field.since <= version) {
      size = field.End();
    }
  }
  return size;
}

bool Layout::IsMoved(const Field& field, smbios::Bytes body) const {
  return tail.countOffset != 0 && field.offset >= tail.offset && tail.countOffset < body.Size() &&
         body[tail.countOffset] != 0;
}

std::vector<NamedValue> NamedValues(const smbios::Structure& structure) {
  const Layout& layout = LayoutOf(structure.Type());
  const smbios::Bytes body = structure.Formatted();
  std::vector<NamedValue> values;
  for (const Field& field : layout.fields) {
    if (field.End() <= body.Size() && !layout.IsMoved(field, body)) {
      values.push_back({field.name, field.offset, field.kind});
    }
  }
  const std::size_t width = layout.group.Width();
  std::size_t at = layout.group.offset;
  while (width != 0 && at + width <= body.Size()) {
    for (const FieldKind part : layout.group.parts) {
      values.push_back({layout.group.name, at, part});
      at += WidthOf(part);
    }
  }
  return values;
}

const Layout& LayoutOf(std::uint8_t type) {
  static const std::vector<Layout> kUnnamed = MakeUnnamedLayouts();
  for (const Layout& layout : Layouts()) {
    if (layout.type == type) {
      return layout;
    }
  }
  return kUnnamed[type];
}

const Layout* FindLayout(std::string_view name) {
  const std::vector<Layout>& layouts = Layouts();
  const auto found = std::find_if(layouts.begin(), layouts.end(),
                                  [&](const Layout& layout) { return layout.name == name; });
  return found == layouts.end() ? nullptr : &*found;
}

std::string TitleOf(std::uint8_t type) {
  const Layout& layout = LayoutOf(type);
  return layout.name.empty() ? "type " + std::to_string(type) : std::string(layout.name);
}

}  // namespace tvq::table
