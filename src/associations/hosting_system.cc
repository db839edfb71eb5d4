#include "associations/hosting_system.h"

#include "frame/object_paths.h"

using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiData;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;

void ReturnHostingSystem(const CmpiBroker& broker, const CmpiContext& context, CmpiResult& result,
                         const char** properties) {
  const CmpiObjectPath system_class(kNameSpace, kSystemClass);
  const CmpiData first = broker.enumInstances(context, system_class, properties).getNext();
  if (!first.isNull()) result.returnData(CmpiInstance(first));
}

void ReturnHostingSystemRef(const CmpiBroker& broker, const CmpiContext& context,
                            CmpiResult& result) {
  const CmpiObjectPath system_class(kNameSpace, kSystemClass);
  const CmpiData first = broker.enumInstanceNames(context, system_class).getNext();
  if (!first.isNull()) result.returnData(CmpiObjectPath(first));
}
