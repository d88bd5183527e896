#pragma once

#include "q32Base/platform/Export.h"

class CArchive;
class CObject;

/// What a class knows of itself at run time. One constant of it stands for each class, named
/// "class" and the class's name.
struct Q32_API CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize;
    unsigned int m_wSchema;          ///< 0xFFFF: objects are not archived
    CObject* (*m_pfnCreateObject)(); ///< null when objects can't be made from here
    const CRuntimeClass* m_pBaseClass;

    /// A new object that the caller owns; null where the class can't be made so. Raises the memory
    /// failure.
    CObject* CreateObject() const;
    /// Whether this is `base` or derived from it.
    bool IsDerivedFrom(const CRuntimeClass* base) const;
};

/// Root of the classes with run-time information. Deleted through its virtual destructor.
class Q32_API CObject {
public:
    static const CRuntimeClass classCObject;

    virtual const CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = default;
    virtual void Serialize(CArchive& archive);
    /// Debug builds: stops the program if the object is damaged.
    virtual void AssertValid() const;
    virtual void Dump() const;

    bool IsKindOf(const CRuntimeClass* base) const {
        return GetRuntimeClass()->IsDerivedFrom(base);
    }

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

protected:
    CObject() = default;
};
