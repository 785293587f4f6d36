#include "frontend/Usage.h"

#include <string_view>

#include "frontend/security.h"

namespace frontend {
namespace {

// The lines that explain the jobs are kept enciphered like the host's settings and deciphered
// only for printing:
//   "  -b converts the link annotations of the selected pages into XML for the page editor or the
//    HTML5 animation editor."
//   "  -a finds web addresses, e-mail addresses and phone numbers in the page text and adds them
//    to the PDF as links."
//   "  {codes} is the job's settings, key=value items joined by "|", enciphered by the host."
constexpr std::string_view kEncodedLines[] = {
    "p7wwzmnn60Ma2owSLxknEyuOV1s0jznkEEUj1QRyim2cPbjH2kT0mOZkd0HLknSwU.V7wdimfZevaOQZI4i.o7Re3U2Q0w"
    "ja1V4d3Wfh0bOO156w.Wct4yHL75PIL3oZTTO3t7evMLZZIvz8VcPTL.1Ve0zO7QvdjUtfwEiU5kEIMi2tRwMWVhRP38"
    "ctPdWMZhSyx3Vkyba.f5RyUz7nPR3Wt7bIxUnBdTWic146f99C310e_",
    "BhI0zH2Z6siHVQddj8ptsEHaVVSsii1hvwzzk70RmHQoby3zt5I4HuVV0eMM2tSvuutZ0ELWno4wUxQ1SwuxtnT4a8f2"
    "eTj8ZtRs3untbdm815bEOWo5dyW81Z4d837VPROi254PMWBnbdaxcn4vmmVpyPmi5t00ui52ywH.71TRMm2fTb.xtks"
    "E8uhBSP3uocTezafVI0Mzk7PdHH22IyHm1obI.utB3f4d329d_",
    "otvb.jQhebHzhfbPM375svLMt2bIUW174wauZf6TWaZpesa8tBSS8i25Py.aVcP4xxnZdIu82hTb3WtZ4PM3h5PbLaQf"
    "RTUM15Rd3zfkPRHzBBb6mHoQdbMm15P6a.V24SaupZsdW8QfyEzOBnEb8acpEIj3B5PeuUQfsS8H77bRi80E4231Bc_",
};

}  // namespace

void printUsage(platform::Reporter& reporter) {
    reporter.out("\n");
    for (std::string_view line : kEncodedLines) {
        reporter.out(decodeArgumentCodes(line).value_or(""));
    }
    reporter.out("\n");
    // "usesage", and "1:" beside "2.", are what the host has always been shown.
    reporter.out("PDF Annotations usesage:");
    reporter.out("1:parse annos:{PDFAnnotations} -b {codes}");
    reporter.out("2.parse text to link annos:{PDFAnnotations} -a {codes}");
    reporter.out("\n");
}

}  // namespace frontend
