#include <initializer_list>
#include <string_view>
#include <utility>

#include "convert/PDFAnnotations.h"

namespace convert {
namespace {

using Items = std::initializer_list<std::pair<std::string_view, std::string_view>>;

// Appends one child per item; an empty text leaves the child without content.
platform::XmlNode appendGroup(platform::XmlNode parent, std::string_view name, Items items) {
    platform::XmlNode group = parent.appendChild(name);
    for (const auto& [childName, text] : items) {
        platform::XmlNode child = group.appendChild(childName);
        if (!text.empty()) child.setText(text);
    }
    return group;
}

}  // namespace

// The editor's defaults for a slide showing the page image; the writer fills "elements" and
// stamps the page size into "info".
platform::XmlDocument PDFAnnotations::generateXMLForBlankPage() {
    platform::XmlDocument slide;
    platform::XmlNode root = slide.appendRoot("slide");
    appendGroup(root, "template", {{"type", "image"}, {"content", "files/large/1.jpg"}});
    appendGroup(
        root, "info",
        {{"id", "0"}, {"name", "1"}, {"title", "1"}, {"width", "1080"}, {"height", "1440"}});
    root.appendChild("duration").setText("5000");
    appendGroup(root, "style", {{"backgroundColor", "0"}, {"zIndex", "0"}});
    platform::XmlNode transition =
        appendGroup(root, "transition", {{"animation", ""}, {"duration", "2000"}, {"easing", ""}});
    appendGroup(transition, "params", {{"verticalNumber", "0"}, {"horizontalNumber", "0"}});
    appendGroup(root, "thumbnail", {{"content", "files/thumb/1.jpg"}});
    root.appendChild("elements");
    return slide;
}

}  // namespace convert
