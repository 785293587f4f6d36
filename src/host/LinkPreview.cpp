#include "host/LinkPreview.h"

#include <charconv>
#include <filesystem>
#include <string_view>

#include "platform/PugiXML.h"

namespace host {
namespace {

using platform::XmlNode;

// A number of the worker's XML; anything unreadable counts as 0.
double readNumber(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double attributeNumber(const XmlNode& node, std::string_view name) {
    return readNumber(node.attribute(name).value_or(""));
}

double childNumber(const XmlNode& node, std::string_view name) {
    return readNumber(node.firstChild(name).text());
}

std::string pageLabel(const std::string& number) { return "page " + number; }

// "anno" → action "url" or "pageIndex", and "location" in fractions.
std::optional<PreviewLink> readAnno(const XmlNode& anno) {
    const XmlNode action = anno.firstChild("action");
    const XmlNode location = anno.lastChild("location");
    if (!action || !location) return std::nullopt;
    PreviewLink link;
    link.frame = {attributeNumber(location, "x"), attributeNumber(location, "y"),
                  attributeNumber(location, "width"), attributeNumber(location, "height")};
    if (const XmlNode page = action.firstChild("pageIndex")) {
        link.target = pageLabel(page.text());
        link.isPageLink = true;
    } else {
        link.target = action.firstChild("url").text();
    }
    return link;
}

// "element" → "style" in points of a page of size width × height, "action" type and target.
std::optional<PreviewLink> readElement(const XmlNode& element, double width, double height) {
    const XmlNode style = element.firstChild("style");
    const XmlNode action = element.firstChild("action");
    if (!style || !action || !(width > 0) || !(height > 0)) return std::nullopt;
    PreviewLink link;
    link.frame = {childNumber(style, "left") / width, childNumber(style, "top") / height,
                  childNumber(style, "width") / width, childNumber(style, "height") / height};
    if (action.firstChild("type").text() == "goToPage") {
        link.target = pageLabel(action.firstChild("params").firstChild("target").text());
        link.isPageLink = true;
    } else {
        link.target = action.firstChild("content").text();
    }
    return link;
}

std::vector<PreviewLink> readPageEditor(const XmlNode& root) {
    std::vector<PreviewLink> links;
    for (const XmlNode& anno : root.children("anno")) {
        if (auto link = readAnno(anno)) links.push_back(*link);
    }
    return links;
}

std::vector<PreviewLink> readSlide(const XmlNode& root) {
    const XmlNode info = root.firstChild("info");
    const double width = childNumber(info, "width");
    const double height = childNumber(info, "height");
    std::vector<PreviewLink> links;
    for (const XmlNode& element : root.lastChild("elements").children("element")) {
        if (auto link = readElement(element, width, height)) links.push_back(*link);
    }
    return links;
}

std::string fileStem(const std::string& path) {
    return std::filesystem::path(path).stem().string();
}

std::optional<PreviewLink> readAnnotation(const platform::Annotation& annotation) {
    if (annotation.type != "Link") return std::nullopt;
    PreviewLink link;
    link.frame = annotation.bounds;
    if (annotation.url) {
        link.target = *annotation.url;
    } else if (annotation.destination) {
        link.target = pageLabel(std::to_string(annotation.destination->pageIndex + 1));
        link.isPageLink = true;
    } else if (annotation.mouseUpAction &&
               annotation.mouseUpAction->kind == platform::Action::Kind::Named) {
        link.target = annotation.mouseUpAction->name;
        link.isPageLink = true;
    }
    return link;
}

}  // namespace

platform::Result<std::vector<PreviewLink>> readLinkXml(const std::string& xml) {
    std::optional<platform::XmlDocument> document = platform::XmlDocument::parse(xml);
    const std::string root = document ? document->root().name() : "";
    if (root == "pageAnnos") return readPageEditor(document->root());
    if (root == "slide") return readSlide(document->root());
    return platform::makeError(platform::Error::Code::Format,
                               "neither a page-editor nor a slide file");
}

PageHalf halfOfFile(const std::string& path) {
    const std::string stem = fileStem(path);
    if (stem.ends_with("-w0")) return PageHalf::First;
    if (stem.ends_with("-w1")) return PageHalf::Second;
    return PageHalf::Whole;
}

std::optional<int> pageNumberOfFile(const std::string& path) {
    const std::string stem = fileStem(path);
    int number = 0;
    const auto [end, failure] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
    if (failure != std::errc() || end == stem.data() || number < 1) return std::nullopt;
    return number;
}

platform::Rect toWholePage(const platform::Rect& frame, PageHalf half, bool rightToLeft) {
    if (half == PageHalf::Whole) return frame;
    const bool isLeft = (half == PageHalf::First) != rightToLeft;
    return {(isLeft ? 0.0 : 0.5) + frame.x / 2, frame.y, frame.width / 2, frame.height};
}

std::vector<PreviewLink> readPdfLinks(const platform::Document& document, int pageIndex) {
    std::vector<PreviewLink> links;
    for (const platform::Annotation& annotation : document.annotations(pageIndex)) {
        if (auto link = readAnnotation(annotation)) links.push_back(*link);
    }
    return links;
}

}  // namespace host
