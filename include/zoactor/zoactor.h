// The umbrella header of ZoActorLib: includes every public header.
#ifndef ZOACTOR_ZOACTOR_H
#define ZOACTOR_ZOACTOR_H

#include <zoactor/ZoExport.h>
#include <zoactor/ZoVersion.h>

// Foundation: utility types, linear algebra, the platform layer.
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoCopyFolder.h>
#include <zoactor/foundation/ZoCriticalSection.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoHashTable.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/foundation/ZoInterfaceRegistry.h>
#include <zoactor/foundation/ZoListItemInterface.h>
#include <zoactor/foundation/ZoLogger.h>
#include <zoactor/foundation/ZoMessageHandler.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoStringList.h>
#include <zoactor/foundation/ZoMath.h>
#include <zoactor/foundation/ZoMatrix3.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform2.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector2.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/foundation/ZoXformMatrix3.h>

// Serialization: streams, framing, the type-code registry, the chunked container.
#include <zoactor/serialization/ZoFile.h>
#include <zoactor/serialization/ZoFileObject.h>
#include <zoactor/serialization/ZoFileProgress.h>
#include <zoactor/serialization/ZoFileStream.h>
#include <zoactor/serialization/ZoFileType.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/serialization/ZoStreamError.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

// Values: typed values, properties, render attributes.
#include <zoactor/values/ZoArrayValue.h>
#include <zoactor/values/ZoCamera.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoLight.h>
#include <zoactor/values/ZoListValue.h>
#include <zoactor/values/ZoMaterial.h>
#include <zoactor/values/ZoOpaqueValue.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoPropertySet.h>
#include <zoactor/values/ZoPropertyTable.h>
#include <zoactor/values/ZoTypedValue.h>

// Geometry: triangle sets, bounding volumes, collision models, queries, shapes.
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoOrientedBox.h>
#include <zoactor/geometry/ZoRect.h>
#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/geometry/ZoTriangleSet.h>

// Animation: keyframes, joint keyframes and their sampling, splines.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/animation/ZoKeyframe.h>
#include <zoactor/animation/ZoSpline.h>

// Skeleton: trees, traversals, permutations, joint limits, proto nodes.
#include <zoactor/skeleton/ZoJLimit.h>
#include <zoactor/skeleton/ZoPermutation.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>
#include <zoactor/skeleton/ZoTreeNode.h>
#include <zoactor/skeleton/ZoTreeTraversal.h>

// Actor: the proto actor and its file, skills and skill files, the skill
// cache, behaviour maps and proximity, the prototype database.
#include <zoactor/actor/ZoFSMSpaceToBhvr.h>
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoDB.h>
#include <zoactor/actor/ZoProtoProxDef.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/actor/ZoReadReport.h>
#include <zoactor/actor/ZoRef.h>
#include <zoactor/actor/ZoSkillAnnotations.h>
#include <zoactor/actor/ZoSkillSampler.h>

// Sequence: recording actors' motion into a sequence folder and playing it back.
#include <zoactor/sequence/ZoActorRecord.h>
#include <zoactor/sequence/ZoActorRecordList.h>
#include <zoactor/sequence/ZoAnimEvent.h>
#include <zoactor/sequence/ZoAnimEventList.h>
#include <zoactor/sequence/ZoAnimFile.h>
#include <zoactor/sequence/ZoAnimSequence.h>

#endif
