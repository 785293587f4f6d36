// What the engine recurses into when it loads a page, walked first. Loading a page looks up the
// named destinations of its links in the catalog's name tree, and scans its resources for
// blending and overprint through every form, pattern and soft mask inside one another; both
// recurse once per level, and a file of a few megabytes nests deep enough to overflow the
// stack. Walking them here, iteratively and within bounds, keeps such pages away from the
// engine.
#include <algorithm>
#include <vector>

#include "platform/MuPDFEngine.h"

namespace platform {
namespace mupdf {
namespace {

// Levels of forms inside forms below a page's resources. Real files nest a few; the engine's
// run of a page recurses once per level too, with large frames.
constexpr std::size_t kMaxResourceNesting = 64;

int lengthOf(fz_context* ctx, pdf_obj* container) {
    int count = 0;
    fz_var(count);
    fz_try(ctx) {
        count = pdf_is_array(ctx, container) ? pdf_array_len(ctx, container)
                                             : pdf_dict_len(ctx, container);
    }
    fz_catch(ctx) { count = 0; }
    return count;
}

// Item index of an array or value index of a dictionary, followed along path (keys separated
// by "/", empty for the item itself), kept when it is a dictionary; null otherwise. The caller
// drops it.
pdf_obj* keptDictionaryAt(fz_context* ctx, pdf_obj* container, int index, const char* path) {
    pdf_obj* found = nullptr;
    fz_var(found);
    fz_try(ctx) {
        pdf_obj* item = pdf_is_array(ctx, container) ? pdf_array_get(ctx, container, index)
                                                     : pdf_dict_get_val(ctx, container, index);
        if (*path != '\0') item = pdf_dict_getp(ctx, item, path);
        if (pdf_is_dict(ctx, item)) found = pdf_keep_obj(ctx, item);
    }
    fz_catch(ctx) { found = nullptr; }
    return found;
}

void appendDictionaries(fz_context* ctx, pdf_obj* container, const char* path,
                        std::vector<pdf_obj*>& out) {
    const int count = lengthOf(ctx, container);
    for (int k = 0; k < count; ++k) {
        if (pdf_obj* found = keptDictionaryAt(ctx, container, k, path)) out.push_back(found);
    }
}

// The resources of the forms, tiling patterns and soft-mask groups (forms too) a resources
// dictionary names: what the engine's blending and overprint scans descend into.
void appendNestedResources(fz_context* ctx, pdf_obj* resources, std::vector<pdf_obj*>& out) {
    appendDictionaries(ctx, entryOf(ctx, resources, "XObject"), "Resources", out);
    appendDictionaries(ctx, entryOf(ctx, resources, "Pattern"), "Resources", out);
    appendDictionaries(ctx, entryOf(ctx, resources, "ExtGState"), "SMask/G/Resources", out);
}

void appendNameTreeKids(fz_context* ctx, pdf_obj* node, std::vector<pdf_obj*>& out) {
    appendDictionaries(ctx, entryOf(ctx, node, "Kids"), "", out);
}

using AppendChildren = void (*)(fz_context*, pdf_obj*, std::vector<pdf_obj*>&);

// Depth first with the path on the heap. A node already on the path is not entered again (the
// engine marks its path the same way). Every visit counts: more visits than the document has
// objects means shared nodes, which multiply the engine's work as they multiply the walk's.
class NestingWalk {
public:
    NestingWalk(fz_context* ctx, pdf_document* doc, std::size_t maxDepth,
                AppendChildren appendChildren)
        : ctx_(ctx),
          maxDepth_(maxDepth),
          appendChildren_(appendChildren),
          visitBudget_(objectCount(ctx, doc)) {}
    ~NestingWalk() {
        while (!path_.empty()) leave();
    }
    NestingWalk(const NestingWalk&) = delete;
    NestingWalk& operator=(const NestingWalk&) = delete;

    // Takes over root; true when no path runs deeper than the bound.
    bool isShallow(pdf_obj* root) {
        if (!enter(root)) return false;
        while (!path_.empty()) {
            Frame& top = path_.back();
            if (top.next == top.children.size()) {
                leave();
                continue;
            }
            if (!enter(top.children[top.next++])) return false;
        }
        return true;
    }

private:
    struct Frame {
        pdf_obj* node;
        std::vector<pdf_obj*> children;
        std::size_t next = 0;
    };

    // Takes over node; false when the walk must end here.
    bool enter(pdf_obj* node) {
        const bool onPath = std::any_of(path_.begin(), path_.end(),
                                        [node](const Frame& frame) { return frame.node == node; });
        if (onPath || ++visits_ > visitBudget_ || path_.size() > maxDepth_) {
            pdf_drop_obj(ctx_, node);
            return onPath;
        }
        path_.push_back({node, {}});
        appendChildren_(ctx_, node, path_.back().children);
        return true;
    }

    void leave() {
        Frame& top = path_.back();
        for (std::size_t k = top.next; k < top.children.size(); ++k) {
            pdf_drop_obj(ctx_, top.children[k]);
        }
        pdf_drop_obj(ctx_, top.node);
        path_.pop_back();
    }

    fz_context* ctx_;
    std::size_t maxDepth_;
    AppendChildren appendChildren_;
    int visitBudget_;
    std::vector<Frame> path_;
    int visits_ = 0;
};

pdf_obj* keptDestinationTree(fz_context* ctx, pdf_document* doc) {
    pdf_obj* tree = nullptr;
    fz_var(tree);
    fz_try(ctx) {
        tree = pdf_keep_obj(ctx, pdf_dict_getp(ctx, pdf_trailer(ctx, doc), "Root/Names/Dests"));
    }
    fz_catch(ctx) { tree = nullptr; }
    return tree;
}

pdf_obj* keptResources(fz_context* ctx, pdf_obj* page) {
    pdf_obj* resources = nullptr;
    fz_var(resources);
    fz_try(ctx) { resources = pdf_keep_obj(ctx, pdf_dict_get(ctx, page, PDF_NAME(Resources))); }
    fz_catch(ctx) { resources = nullptr; }
    return resources;
}

}  // namespace

bool isPageLoadBounded(fz_context* ctx, pdf_document* doc, pdf_obj* page) {
    pdf_obj* tree = keptDestinationTree(ctx, doc);
    if (tree != nullptr &&
        !NestingWalk(ctx, doc, kMaxNameTreeDepth, appendNameTreeKids).isShallow(tree)) {
        return false;
    }
    pdf_obj* resources = keptResources(ctx, page);
    return resources == nullptr ||
           NestingWalk(ctx, doc, kMaxResourceNesting, appendNestedResources).isShallow(resources);
}

}  // namespace mupdf
}  // namespace platform
