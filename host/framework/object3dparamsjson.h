#pragma once

class CEL3DObjectParams;
class QJsonObject;

/// Puts every field but the camera block under its key.
void writeFields(const CEL3DObjectParams& params, QJsonObject& object);

/// Takes over each field whose key is there with a value of its type.
void readFields(const QJsonObject& object, CEL3DObjectParams& params);
