#include "convert/AnimationLinkFormat.h"

#include "convert/TextTemplate.h"

namespace convert {

// The colour texts carry an opacity after the comma, and "1283", "1650" and "Infinity" are
// the editor's own defaults for a link that is always shown.
const std::string_view AnimationLinkFormat =
    "<element><template><id>${id}</id><type>LINK</type><name>Link_${id}</name>"
    "<visible>1</visible><content></content><addedByUser>0</addedByUser></template>"
    "<style><zIndex>${id}</zIndex><width>${width}</width><height>${height}</height>"
    "<left>${left}</left><top>${top}</top><x>${left}</x><y>${top}</y><rotate>0</rotate>"
    "<opacity>1</opacity><timeLength>Infinity</timeLength>"
    "<linkNormalColor>#AAAAAA,0</linkNormalColor><linkOverColor>#AAAAAA,0.5</linkOverColor>"
    "<linkDownColor>#AAAAAA,0.7</linkDownColor></style>"
    "<action><type>${type}</type><content><![CDATA[${content}]]></content>"
    "<params><target>${target}</target></params></action>"
    "<animations><animation><showType>in</showType><start>0</start><animation>None</animation>"
    "<anotherName>None</anotherName><easing>swing</easing><duration>1283</duration>"
    "<userDefined>0</userDefined><motionEnable>0</motionEnable></animation>"
    "<animation><showType>out</showType><start>1650</start><animation>AlwaysDisplay</animation>"
    "<anotherName>AlwaysDisplay</anotherName><easing>swing</easing><duration>1500</duration>"
    "<userDefined>0</userDefined><motionEnable>0</motionEnable></animation></animations>"
    "</element>";

namespace {

std::string fillLinkFormat(std::int32_t left, std::int32_t top, std::int32_t width,
                           std::int32_t height, std::int32_t id, const std::string& type,
                           const std::string& content, const std::string& target) {
    // Every call sets all eight items, so one template per thread serves them all and keeps its
    // items' and its output's memory: a page may hold hundreds of thousands of links.
    thread_local TextTemplate linkTemplate{std::string(AnimationLinkFormat)};
    linkTemplate.setItem("id", std::to_string(id));
    linkTemplate.setItem("left", std::to_string(left));
    linkTemplate.setItem("top", std::to_string(top));
    linkTemplate.setItem("width", std::to_string(width));
    linkTemplate.setItem("height", std::to_string(height));
    linkTemplate.setItem("type", type);
    linkTemplate.setItem("content", content);
    linkTemplate.setItem("target", target);
    return linkTemplate.parse();
}

}  // namespace

std::string getLinkString(std::int32_t left, std::int32_t top, std::int32_t width,
                          std::int32_t height, const std::string& text, std::int32_t id) {
    return fillLinkFormat(left, top, width, height, id, "openUrl", text, "_blank");
}

std::string getGotoPageString(std::int32_t left, std::int32_t top, std::int32_t width,
                              std::int32_t height, std::int32_t target, std::int32_t id) {
    return fillLinkFormat(left, top, width, height, id, "goToPage", "Fixed Page",
                          std::to_string(target));
}

}  // namespace convert
