#pragma once

#include <QObject>
#include <QSizeF>

#include <memory>
#include <vector>

class COvDocument;
class COvPage;

namespace ov3d::apps {

using SharedPage = std::shared_ptr<COvPage>;

/// The pages of a live document in their order. GUI thread.
///
/// A page that has been taken away lives on with its items and their viewers as long as somebody holds it, so that undo
/// can bring it back as it was. Whoever lets go of it last hands its items to the reaper.
class DocumentPages : public QObject
{
    Q_OBJECT

public:
    /// @param document  what the pages answer to getDocument(); outlives them.
    explicit DocumentPages(COvDocument& document);
    ~DocumentPages() override;

    [[nodiscard]] int pageCount() const { return static_cast<int>(m_pages.size()); }
    [[nodiscard]] COvPage* page(int index) const; ///< null when there is no such page
    [[nodiscard]] SharedPage sharedPage(int index) const;
    [[nodiscard]] int indexOf(const COvPage* page) const; ///< -1 for a page that is not in the document

    /// An empty page that is not in the document yet.
    [[nodiscard]] SharedPage makePage(const QSizeF& size);

    /// @param page  not null, and not in the document.
    void insertPage(int index, const SharedPage& page);
    void takePage(int index);

Q_SIGNALS:
    void pageInserted(int index);

    /// Emitted while somebody still holds the page.
    void pageTaken(int index);

private:
    COvDocument& m_document;
    std::vector<SharedPage> m_pages;
};

} // namespace ov3d::apps
