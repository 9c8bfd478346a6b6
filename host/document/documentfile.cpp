#include "host/document/documentfile.h"

#include "host/document/openeddocument.h"
#include "host/document/workingfolder.h"

using namespace ov3d::document;

std::unique_ptr<COvDocumentFile> COvDocumentFile::create(QString& error)
{
    WorkingFolder::sweepAbandoned();
    std::unique_ptr<WorkingFolder> folder = WorkingFolder::create(error);
    return folder ? std::make_unique<OpenedDocument>(std::move(folder)) : nullptr;
}

std::unique_ptr<COvDocumentFile> COvDocumentFile::open(const QString& path, QString& error, Access access,
                                                       Failure* failure)
{
    Failure ignored = Failure::None;
    Failure& result = failure ? *failure : ignored;
    WorkingFolder::sweepAbandoned();
    std::unique_ptr<WorkingFolder> folder = WorkingFolder::create(error);
    if (!folder) {
        result = Failure::NoAccess;
        return nullptr;
    }
    auto document = std::make_unique<OpenedDocument>(std::move(folder));
    result = document->read(path, access, error);
    return result == Failure::None ? std::move(document) : nullptr;
}

bool COvDocumentFile::save(const QString& path, const OvDocumentContent& content, const QImage& preview, QString& error)
{
    std::unique_ptr<COvWrittenDocument> written = write(path, {content, preview, {}}, error);
    if (!written)
        return false;
    take(std::move(written));
    return true;
}

void COvDocumentFile::sweepAbandoned()
{
    WorkingFolder::sweepAbandoned();
}

COvDocumentFile::~COvDocumentFile() = default;
