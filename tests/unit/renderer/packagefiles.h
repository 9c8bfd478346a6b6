#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

/// 3MF packages and their parts, put together by hand.
namespace packagefiles {

using Parts = QList<QPair<QByteArray, QByteArray>>; ///< name and content

/// A ZIP package of those parts, each compressed when `deflated` is set.
QByteArray zip(const Parts& parts, bool deflated = true);

/// The part that names the main model, "3D/3dmodel.model".
QPair<QByteArray, QByteArray> rootRelations();

/// The relations of the main model: one to each target, of that type ("3dmodel" or "3dtexture").
QPair<QByteArray, QByteArray> modelRelations(const QList<QByteArray>& targets, const QByteArray& type);

/// A model part. @param attributes of the outermost element, beyond the usual name spaces.
QByteArray model(const QByteArray& resources, const QByteArray& build, const QByteArray& attributes = {});

/// An object of one mesh: a corner of a cube of edge 1, four triangles.
/// @param properties attributes of each triangle, the last one for all that follow.
QByteArray object(int id, const QList<QByteArray>& properties = {}, const QByteArray& attributes = {});

/// A package of a main model alone, or with more parts.
QByteArray package(const QByteArray& resources, const QByteArray& build, const Parts& more = {});

/// A small picture, red.
QByteArray png();

} // namespace packagefiles
