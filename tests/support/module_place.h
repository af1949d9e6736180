#ifndef ZOLDEBUG_TESTS_MODULE_PLACE_H
#define ZOLDEBUG_TESTS_MODULE_PLACE_H

#include "dbg_module.h"

#include <QtCore/QString>

#include <new>
#include <type_traits>

#include <string.h>

namespace ZolTest {

/** Storage in which modules come and go at one address. */
class ModulePlace
{
public:
    Zol::DebugModule* Build(const char* id)
    {
        return new (&m_storage) Zol::DebugModule(QLatin1String(id));
    }

    /** Destroys the module and marks its storage, so that a later access shows. */
    void Destroy(Zol::DebugModule* module)
    {
        module->~DebugModule();
        memset(&m_storage, filling, sizeof m_storage);
    }

    /** Whether nobody wrote to the storage of the destroyed module. */
    bool Untouched() const
    {
        const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(&m_storage);
        for (size_t i = 0; i < sizeof m_storage; ++i) {
            if (bytes[i] != filling)
                return false;
        }
        return true;
    }

private:
    enum : unsigned char
    {
        filling = 0xA5
    };

    std::aligned_storage<sizeof(Zol::DebugModule), alignof(Zol::DebugModule)>::type m_storage;
};

} // namespace ZolTest

#endif
