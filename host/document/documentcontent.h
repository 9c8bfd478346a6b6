#pragma once

#include <QHash>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <QVector>

/// What a document file says, as plain values. document.json is made from these and nothing else.

/// One item of a page.
struct OvDocumentItem
{
    QJsonObject
        entries; ///< what the item's own saveJson wrote; handed to its loadJson. Empty for an item that has none
    QJsonObject
        parameters;      ///< the whole parameter record (docs/document-format.md), keys unknown to the record included
    QString model;       ///< the model file, relative to the document's working folder, "/" between; may be empty
    QStringList files;   ///< every file that insertion brought, the model included; relative to the working folder
    QJsonObject host;    ///< what the host itself keeps of the item: type, lock, user's environment picture, ...
    QJsonObject unknown; ///< keys that a newer program wrote; written back as they are
};

struct OvDocumentPage
{
    QSizeF size;
    QVector<OvDocumentItem> items; ///< from the lowest to the topmost
    QJsonObject unknown;
};

struct OvDocumentContent
{
    QVector<OvDocumentPage> pages;
    QJsonObject unknown;
};

/// Everything that a save writes, settled before it begins, so that the document can be changed meanwhile.
struct OvDocumentSnapshot
{
    OvDocumentContent content;
    QImage preview; ///< null for none

    /// Files, by their path relative to the working folder, that may change before they have been packed: their bytes.
    /// All others are read from the working folder.
    QHash<QString, QByteArray> files;
};
