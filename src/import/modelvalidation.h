#pragma once

/// Checks of a model file's content against the format that its suffix claims. Each prints its verdict on the process's
/// standard streams, which is part of the interface. Any thread; nothing is thrown.

#include <QString>

#include <string>

/// @param path  local 8-bit encoding.
/// @return whether the file begins with the binary FBX signature. Text FBX is refused.
bool isValidFBXFile(const std::string& path);

/// @param path  local 8-bit encoding.
/// @return whether one of the first 30 counted lines begins an OBJ statement (v, vn, vt, f). Empty lines and lines with
/// a
///     "#" anywhere are not counted. Prints nothing.
bool isValidOBJFile(const std::string& path);

/// @return whether the file is JSON whose asset version begins with "2.0".
bool isValidGLTFFile(const QString& path);
