#pragma once

#include <QString>

class QJsonObject;

/// @return the indented JSON text of an object, up to its first NUL byte.
QString json2qstring(QJsonObject& object);
