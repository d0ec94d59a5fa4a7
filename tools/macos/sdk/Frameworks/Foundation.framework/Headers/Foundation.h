// The few classes that AppKit declarations need. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#if __has_include(<objc/NSObject.h>)  // the open-source runtime headers, when the toolchain has them
#include <objc/NSObject.h>
#else
typedef bool BOOL;  // arm64
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#define nil nullptr
typedef long NSInteger;
typedef unsigned long NSUInteger;
__attribute__((objc_root_class)) @interface NSObject
+ (instancetype)alloc;
- (instancetype)init;
+ (instancetype)new;
@end
#endif
@interface NSString : NSObject
+ (nullable instancetype)stringWithUTF8String:(nonnull const char *)s;
@property(nullable, readonly) const char *UTF8String __attribute__((objc_returns_inner_pointer));
@end
typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable *_Nullable itemsPtr;
  unsigned long *_Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;
@interface NSArray<ObjectType> : NSObject
@property(readonly) NSUInteger count;
- (NSUInteger)countByEnumeratingWithState:(nonnull NSFastEnumerationState *)state
                                  objects:(id __unsafe_unretained _Nullable *_Nonnull)buffer
                                    count:(NSUInteger)length;
@end
@interface NSData : NSObject
+ (nonnull instancetype)dataWithBytes:(nullable const void *)bytes length:(NSUInteger)length;
@property(nullable, readonly) const void *bytes __attribute__((objc_returns_inner_pointer));
@property(readonly) NSUInteger length;
@end
@interface NSURL : NSObject
+ (nonnull NSURL *)fileURLWithPath:(nonnull NSString *)path;
@property(nullable, readonly, copy) NSString *path;
@end
@interface NSError : NSObject
@property(nonnull, readonly, copy) NSString *localizedDescription;
@end
@interface NSBundle : NSObject
@property(class, nonnull, readonly, strong) NSBundle *mainBundle;
+ (nullable instancetype)bundleWithURL:(nonnull NSURL *)url;
@property(nullable, readonly, copy) NSString *bundleIdentifier;
@end
@interface NSNotification : NSObject
@end
@class NSOperationQueue;
@interface NSNotificationCenter : NSObject
- (nonnull id<NSObject>)addObserverForName:(nullable NSString *)name
                                    object:(nullable id)object
                                     queue:(nullable NSOperationQueue *)queue
                                usingBlock:(nonnull void (^)(NSNotification *_Nonnull))block;
- (void)removeObserver:(nonnull id)observer;
@end
@interface NSDistributedNotificationCenter : NSNotificationCenter
+ (nonnull NSDistributedNotificationCenter *)defaultCenter;
@end
