// ZoFileObject: the base of objects stored in a chunked container (ZoFile).
// An object is written as its ZoFileType followed by whatever WriteToFile
// writes; ZoFile::Read checks the type before calling ReadFromFile.
#ifndef ZOACTOR_SERIALIZATION_ZOFILEOBJECT_H
#define ZOACTOR_SERIALIZATION_ZOFILEOBJECT_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoFileType.h>

class ZoFile;

class ZOACTOR_API ZoFileObject {
 public:
  virtual ~ZoFileObject();
  // The type this object is stored under (the base: ClassTypeInFile()).
  virtual ZoFileType TypeInFile() const;
  // The object's name in the file (the base: the null string).
  virtual ZoString NameInFile() const;
  // Reads the object's data, which follows its type; positive on success.
  virtual int ReadFromFile(ZoFile& file) = 0;
  // Writes the object's data (after its type); positive on success.
  virtual int WriteToFile(ZoFile& file) = 0;

  // The base class's type: four spaces.
  static ZoFileType ClassTypeInFile();
  // The base class's creation function: makes nothing.
  static ZoFileObject* ConstructFromFile(ZoFile& file);
};

#endif
