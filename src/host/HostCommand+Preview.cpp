// `preview BOOK.pdf [XML...] [--page N] [--password PW] [--r2l] [--scale S] -o PNG`: the page
// with the links of the worker's files drawn over it, or with the PDF's own link annotations
// when no file is given.
#include <cstdio>
#include <optional>

#include "host/HostCommand.h"
#include "host/PreviewPicture.h"
#include "platform/NumberText.h"

namespace host {
namespace {

// Reads the value of an option; false when it is the last argument.
bool takeValue(const Arguments& arguments, std::size_t& k, std::string& value) {
    if (k + 1 >= arguments.size()) return false;
    value = arguments[++k];
    return true;
}

// Fills request from the arguments; false for anything it cannot use.
bool readOption(const Arguments& arguments, std::size_t& k, PreviewRequest& request,
                std::optional<int>& page) {
    const std::string& argument = arguments[k];
    std::string value;
    if (argument == "--r2l") {
        request.rightToLeft = true;
    } else if (argument == "-o" && takeValue(arguments, k, value)) {
        request.png = value;
    } else if (argument == "--password" && takeValue(arguments, k, value)) {
        request.password = value;
    } else if (argument == "--page" && takeValue(arguments, k, value)) {
        page = platform::intValue(value);
    } else if (argument == "--scale" && takeValue(arguments, k, value)) {
        request.scale = platform::floatValue(value);
    } else if (!argument.starts_with("-") && request.pdf.empty()) {
        request.pdf = argument;
    } else if (!argument.starts_with("-")) {
        request.xmlFiles.push_back(argument);
    } else {
        return false;
    }
    return true;
}

std::optional<PreviewRequest> parsePreviewArguments(const Arguments& arguments) {
    PreviewRequest request;
    std::optional<int> page;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        if (!readOption(arguments, k, request, page)) return std::nullopt;
    }
    if (request.pdf.empty() || request.png.empty() || !(request.scale > 0)) return std::nullopt;
    if (!page && !request.xmlFiles.empty()) page = pageNumberOfFile(request.xmlFiles.front());
    if (!page || *page < 1) return std::nullopt;
    request.page = *page;
    return request;
}

}  // namespace

int runPreviewCommand(const Arguments& arguments) {
    const std::optional<PreviewRequest> request = parsePreviewArguments(arguments);
    if (!request) return printUsage();
    auto drawn = writeLinkPreview(*request);
    if (!drawn) return complain(drawn.error().message);
    std::printf("%s: %zu link%s\n", request->png.c_str(), *drawn, *drawn == 1 ? "" : "s");
    return 0;
}

}  // namespace host
