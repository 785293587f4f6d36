#pragma once
// Test-only helpers for the slide writer: a dump of an XML tree with one line per leaf element
// (its path and text, "style/left=960") and a one-line description per link element.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "convert/GoldenXml.h"
#include "platform/PugiXML.h"

namespace slidestest {

inline void dumpInto(const platform::XmlNode& node, const std::string& path,
                     std::vector<std::string>& lines) {
    std::vector<platform::XmlNode> children = node.children();
    if (children.empty()) {
        lines.push_back(path + "=" + node.text());
        return;
    }
    for (const platform::XmlNode& child : children) {
        dumpInto(child, path.empty() ? child.name() : path + "/" + child.name(), lines);
    }
}

inline std::vector<std::string> dump(const platform::XmlNode& node) {
    std::vector<std::string> lines;
    if (node.children().empty()) return lines;
    dumpInto(node, "", lines);
    return lines;
}

// The lines of a link element as the slide writer fills it.
inline std::vector<std::string> linkElementLines(const std::string& id, const std::string& left,
                                                 const std::string& top, const std::string& width,
                                                 const std::string& height, const std::string& type,
                                                 const std::string& content,
                                                 const std::string& target) {
    return {"template/id=" + id,
            "template/type=LINK",
            "template/name=Link_" + id,
            "template/visible=1",
            "template/content=",
            "template/addedByUser=0",
            "style/zIndex=" + id,
            "style/width=" + width,
            "style/height=" + height,
            "style/left=" + left,
            "style/top=" + top,
            "style/x=" + left,
            "style/y=" + top,
            "style/rotate=0",
            "style/opacity=1",
            "style/timeLength=Infinity",
            "style/linkNormalColor=#AAAAAA,0",
            "style/linkOverColor=#AAAAAA,0.5",
            "style/linkDownColor=#AAAAAA,0.7",
            "action/type=" + type,
            "action/content=" + content,
            "action/params/target=" + target,
            "animations/animation/showType=in",
            "animations/animation/start=0",
            "animations/animation/animation=None",
            "animations/animation/anotherName=None",
            "animations/animation/easing=swing",
            "animations/animation/duration=1283",
            "animations/animation/userDefined=0",
            "animations/animation/motionEnable=0",
            "animations/animation/showType=out",
            "animations/animation/start=1650",
            "animations/animation/animation=AlwaysDisplay",
            "animations/animation/anotherName=AlwaysDisplay",
            "animations/animation/easing=swing",
            "animations/animation/duration=1500",
            "animations/animation/userDefined=0",
            "animations/animation/motionEnable=0"};
}

// The lines of a blank slide whose "info" size is width x height, without its elements.
inline std::vector<std::string> blankSlideLines(const std::string& width,
                                                const std::string& height) {
    return {"template/type=image",
            "template/content=files/large/1.jpg",
            "info/id=0",
            "info/name=1",
            "info/title=1",
            "info/width=" + width,
            "info/height=" + height,
            "duration=5000",
            "style/backgroundColor=0",
            "style/zIndex=0",
            "transition/animation=",
            "transition/duration=2000",
            "transition/easing=",
            "transition/params/verticalNumber=0",
            "transition/params/horizontalNumber=0",
            "thumbnail/content=files/thumb/1.jpg",
            "elements="};
}

// One line per link element of a slide file: id, [left top width height], action type, content
// and target ("0 [960 670 720 30] openUrl https://a.example/ _blank"). Fails the test when the
// file is missing or does not parse.
inline std::vector<std::string> describeLinks(const std::filesystem::path& path) {
    std::vector<std::string> lines;
    std::optional<std::string> bytes = goldenxml::readFile(path);
    EXPECT_TRUE(bytes) << path << " was not written";
    if (!bytes) return lines;
    std::optional<platform::XmlDocument> slide = platform::XmlDocument::parse(*bytes);
    EXPECT_TRUE(slide) << path << " does not parse";
    if (!slide) return lines;
    for (const platform::XmlNode& element :
         slide->root().lastChild("elements").children("element")) {
        platform::XmlNode style = element.lastChild("style");
        platform::XmlNode action = element.lastChild("action");
        lines.push_back(element.lastChild("template").lastChild("id").text() + " [" +
                        style.lastChild("left").text() + " " + style.lastChild("top").text() + " " +
                        style.lastChild("width").text() + " " + style.lastChild("height").text() +
                        "] " + action.lastChild("type").text() + " " +
                        action.lastChild("content").text() + " " +
                        action.lastChild("params").lastChild("target").text());
    }
    return lines;
}

}  // namespace slidestest
