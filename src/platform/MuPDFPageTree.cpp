// The page tree walked before the engine walks it. The engine's tree loader recurses once per
// level and revisits shared nodes, its lookups search their whole path per level, and its page
// load gives up on a page below too many parents after taking a reference it does not give
// back. Walking the tree and the /Parent chains here first, iteratively and within bounds,
// keeps hostile trees away from those paths.
#include <vector>

#include "platform/MuPDFEngine.h"

namespace platform {
namespace mupdf {
namespace {

// The engine follows inherited page entries (media box, resources) through this many parents
// and refuses to load a page below more.
constexpr int kMaxParents = 100;

// Real page trees are a few levels deep; other readers stop at this depth too.
constexpr std::size_t kMaxTreeDepth = 256;

enum class NodeKind { Pages, Page, Other };

// The engine's own test in its tree loader: the /Type alone decides.
NodeKind kindOf(fz_context* ctx, pdf_obj* node) {
    NodeKind kind = NodeKind::Other;
    fz_var(kind);
    fz_try(ctx) {
        pdf_obj* type = pdf_dict_get(ctx, node, PDF_NAME(Type));
        if (pdf_name_eq(ctx, type, PDF_NAME(Pages))) {
            kind = NodeKind::Pages;
        } else if (pdf_name_eq(ctx, type, PDF_NAME(Page))) {
            kind = NodeKind::Page;
        }
    }
    fz_catch(ctx) { kind = NodeKind::Other; }
    return kind;
}

int kidCount(fz_context* ctx, pdf_obj* node) {
    int count = 0;
    fz_var(count);
    fz_try(ctx) { count = pdf_array_len(ctx, pdf_dict_get(ctx, node, PDF_NAME(Kids))); }
    fz_catch(ctx) { count = 0; }
    return count;
}

// The kid as written (a reference is kept unresolved, so it stays valid even if the engine
// repairs the file on the way), with its object number (0 for a direct object). The caller
// drops it.
pdf_obj* keptKid(fz_context* ctx, pdf_obj* node, int index, int* number) {
    pdf_obj* kid = nullptr;
    fz_var(kid);
    fz_try(ctx) {
        kid = pdf_keep_obj(ctx, pdf_array_get(ctx, pdf_dict_get(ctx, node, PDF_NAME(Kids)), index));
        *number = pdf_to_num(ctx, kid);
    }
    fz_catch(ctx) {
        pdf_drop_obj(ctx, kid);
        return nullptr;
    }
    return kid;
}

pdf_obj* keptTreeRoot(fz_context* ctx, pdf_document* doc, int* number) {
    pdf_obj* root = nullptr;
    fz_var(root);
    fz_try(ctx) {
        pdf_obj* catalog = pdf_dict_get(ctx, pdf_trailer(ctx, doc), PDF_NAME(Root));
        root = pdf_keep_obj(ctx, pdf_dict_get(ctx, catalog, PDF_NAME(Pages)));
        *number = pdf_to_num(ctx, root);
    }
    fz_catch(ctx) {
        pdf_drop_obj(ctx, root);
        return nullptr;
    }
    return root;
}

// A depth-first walk with the path on the heap. Every node visit is counted: a tree visits
// each object at most once, so more visits than the document has objects means shared
// subtrees, which can multiply the engine's work without end.
class PageTreeWalk {
public:
    PageTreeWalk(fz_context* ctx, pdf_document* doc, int pageCount)
        : ctx_(ctx),
          pageCount_(pageCount),
          visitBudget_(objectCount(ctx, doc)),
          onPath_(static_cast<std::size_t>(visitBudget_), false) {}
    ~PageTreeWalk() {
        for (const Frame& frame : path_) pdf_drop_obj(ctx_, frame.node);
    }
    PageTreeWalk(const PageTreeWalk&) = delete;
    PageTreeWalk& operator=(const PageTreeWalk&) = delete;

    PageTreeShape run(pdf_obj* root, int rootNumber) {
        if (root == nullptr || !visit(root, rootNumber)) return shape_;
        while (!path_.empty()) {
            Frame& top = path_.back();
            if (top.nextKid == top.kids) {
                leave();
                continue;
            }
            int number = 0;
            pdf_obj* kid = keptKid(ctx_, top.node, top.nextKid++, &number);
            if (!visit(kid, number)) return shape_;
        }
        if (leaves_ != pageCount_) shape_ = PageTreeShape::Irregular;
        return shape_;
    }

private:
    struct Frame {
        pdf_obj* node;
        int number;
        int kids;
        int nextKid;
    };

    // Takes over node; false when the walk must end here.
    bool visit(pdf_obj* node, int number) {
        const NodeKind kind = kindOf(ctx_, node);
        if (kind != NodeKind::Pages || isOnPath(number)) {
            pdf_drop_obj(ctx_, node);
            // The engine refuses a node of another type, a cycle, and more pages than counted.
            if (kind == NodeKind::Other || kind == NodeKind::Pages || ++leaves_ > pageCount_) {
                shape_ = PageTreeShape::Irregular;
            }
            return countVisit();
        }
        if (path_.size() >= kMaxTreeDepth) {
            pdf_drop_obj(ctx_, node);
            shape_ = PageTreeShape::Unreadable;
            return false;
        }
        path_.push_back({node, number, kidCount(ctx_, node), 0});
        if (number > 0) onPath_[static_cast<std::size_t>(number)] = true;
        return countVisit();
    }

    bool countVisit() {
        if (++visits_ <= visitBudget_) return true;
        shape_ = PageTreeShape::Unreadable;
        return false;
    }

    // Numbers past the cross-reference table resolve to null and never reach the path.
    bool isOnPath(int number) const {
        return number > 0 && number < visitBudget_ && onPath_[static_cast<std::size_t>(number)];
    }

    void leave() {
        const Frame& top = path_.back();
        if (top.number > 0 && top.number < visitBudget_) {
            onPath_[static_cast<std::size_t>(top.number)] = false;
        }
        pdf_drop_obj(ctx_, top.node);
        path_.pop_back();
    }

    fz_context* ctx_;
    int pageCount_;
    int visitBudget_;
    std::vector<bool> onPath_;  // by object number
    std::vector<Frame> path_;
    int visits_ = 0;
    int leaves_ = 0;
    PageTreeShape shape_ = PageTreeShape::Sound;
};

}  // namespace

int objectCount(fz_context* ctx, pdf_document* doc) {
    int count = 0;
    fz_var(count);
    fz_try(ctx) { count = pdf_xref_len(ctx, doc); }
    fz_catch(ctx) { count = 0; }
    return count;
}

PageTreeShape readPageTreeShape(fz_context* ctx, pdf_document* doc, int pageCount) {
    int number = 0;
    pdf_obj* root = keptTreeRoot(ctx, doc, &number);
    return PageTreeWalk(ctx, doc, pageCount).run(root, number);
}

bool isParentChainReadable(fz_context* ctx, pdf_obj* page) {
    int parents = 0;
    fz_var(parents);
    fz_try(ctx) {
        // A /Parent cycle runs into the limit like a chain that is too long.
        for (pdf_obj* node = pdf_dict_get(ctx, page, PDF_NAME(Parent));
             pdf_is_dict(ctx, node) && parents <= kMaxParents;
             node = pdf_dict_get(ctx, node, PDF_NAME(Parent))) {
            ++parents;
        }
    }
    fz_catch(ctx) { return false; }
    return parents <= kMaxParents;
}

}  // namespace mupdf
}  // namespace platform
