#include "lib/types/uuidType.h"

#include <cstring>

void uuidType::clear()
{
    uuid_clear(my_uuid);
    validFlag = false;
}

void uuidType::generateUuid()
{
    clear();
    uuid_generate(my_uuid);
}

bool uuidType::operator==(const uuidType &other) const
{
    return uuid_compare(my_uuid, other.my_uuid) == 0;
}

QByteArray uuidType::byteArray() const
{
    return QByteArray(reinterpret_cast<const char *>(my_uuid), sizeof my_uuid);
}

void uuidType::fromByteArray(const QByteArray &bytes)
{
    clear();
    if (bytes.size() != int(sizeof my_uuid))
        return;
    std::memcpy(my_uuid, bytes.constData(), sizeof my_uuid);
    validFlag = true;
}

QString uuidType::toString() const
{
    char text[UUID_STR_LEN];
    uuid_unparse_lower(my_uuid, text);
    return QString::fromLatin1(text);
}

bool uuidType::fromString(const QString &text)
{
    return uuid_parse(text.toLatin1().constData(), my_uuid) == 0;
}
