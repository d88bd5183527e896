#pragma once

#include "q32Base/platform/Export.h"

class CArchive;
class CObject;

/// Run-time information about a class. Each class has one constant of it, named "class" followed by
/// the class's name.
struct Q32_API CRuntimeClass {
    const char* m_lpszClassName;       ///< name of the class, without qualification
    int m_nObjectSize;                 ///< bytes of an object
    unsigned int m_wSchema;            ///< 0xFFFF: objects are not archived
    CObject* (*m_pfnCreateObject)();   ///< null if objects can't be created by it
    const CRuntimeClass* m_pBaseClass; ///< null for CObject

    /// A new object, owned by the caller; null if the class doesn't support this. Raises the memory
    /// exception.
    CObject* CreateObject() const;
    /// Whether this is `base` or derived from it.
    bool IsDerivedFrom(const CRuntimeClass* base) const;
};

/// Base of the classes with run-time information. Objects may be deleted through a pointer to it.
class Q32_API CObject {
public:
    static const CRuntimeClass classCObject;

    /// The information of the object's own class, however it is referred to.
    virtual const CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = default;
    /// Reads the object from an archive, or writes it. Does nothing here.
    virtual void Serialize(CArchive& archive);
    /// Debug builds: aborts if the object is corrupt. Does nothing here.
    virtual void AssertValid() const;
    /// Writes the object's state for diagnosis. Does nothing here.
    virtual void Dump() const;

    /// Whether the object's class is `base` or derived from it.
    bool IsKindOf(const CRuntimeClass* base) const {
        return GetRuntimeClass()->IsDerivedFrom(base);
    }

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

protected:
    /// For derived classes.
    CObject() = default;
};
