#include "convert/JobDocument.h"

#include <cmath>
#include <limits>

namespace convert {

namespace {

// Truncated toward zero and held to the int range; a damaged box must not overflow it.
int truncatedWidth(double width) {
    if (!(width > 0)) return 0;
    if (width >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(width);
}

}  // namespace

std::shared_ptr<const JobDocument> makeJobDocument(platform::Document document) {
    auto job = std::make_shared<JobDocument>(JobDocument{std::move(document), {}, {}});
    int count = job->document.pageCount();
    for (int index = 0; index < count; ++index) {
        platform::Rect box = job->document.cropBox(index);
        int rotation = job->document.rotation(index);
        bool turned = rotation == 90 || rotation == 270;
        double width = turned ? box.height : box.width;
        double height = turned ? box.width : box.height;
        job->widthsOfPDF.push_back(truncatedWidth(width));
        job->aspectOfPDF.push_back(static_cast<float>(width / height));
    }
    return job;
}

}  // namespace convert
