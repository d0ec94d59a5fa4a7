// Login items. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#import <Foundation/Foundation.h>

typedef enum : NSInteger {
  SMAppServiceStatusNotRegistered,
  SMAppServiceStatusEnabled,
  SMAppServiceStatusRequiresApproval,
  SMAppServiceStatusNotFound
} SMAppServiceStatus;

@interface SMAppService : NSObject
@property(class, nonnull, readonly, strong) SMAppService *mainAppService;
@property(readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError *_Nullable *_Nullable)error;
- (BOOL)unregisterAndReturnError:(NSError *_Nullable *_Nullable)error;
+ (void)openSystemSettingsLoginItems;
@end
