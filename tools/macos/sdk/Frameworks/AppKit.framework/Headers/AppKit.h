// Workspace, running applications, key events and the pasteboard. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#import <Foundation/Foundation.h>

@interface NSRunningApplication : NSObject
@property(readonly) pid_t processIdentifier;
@property(nullable, readonly, copy) NSString *bundleIdentifier;
+ (nullable instancetype)runningApplicationWithProcessIdentifier:(pid_t)pid;
- (BOOL)activateWithOptions:(NSUInteger)options;
- (BOOL)activateFromApplication:(nonnull NSRunningApplication *)application options:(NSUInteger)options;
@end

@interface NSWorkspaceOpenConfiguration : NSObject
+ (nonnull instancetype)configuration;
@property BOOL activates;
@property BOOL allowsRunningApplicationSubstitution;
@end

extern NSString *_Nonnull const NSWorkspaceWillSleepNotification;
extern NSString *_Nonnull const NSWorkspaceDidWakeNotification;
extern NSString *_Nonnull const NSWorkspaceSessionDidBecomeActiveNotification;
extern NSString *_Nonnull const NSWorkspaceSessionDidResignActiveNotification;

@interface NSWorkspace : NSObject
@property(readonly, strong) NSNotificationCenter *_Nonnull notificationCenter;
@property(class, nonnull, readonly, strong) NSWorkspace *sharedWorkspace;
@property(nullable, readonly, strong) NSRunningApplication *frontmostApplication;
- (BOOL)openURL:(nonnull NSURL *)url;
- (nullable NSURL *)URLForApplicationWithBundleIdentifier:(nonnull NSString *)identifier;
- (void)openApplicationAtURL:(nonnull NSURL *)url
               configuration:(nonnull NSWorkspaceOpenConfiguration *)configuration
           completionHandler:(nullable void (^)(NSRunningApplication *_Nullable app,
                                                NSError *_Nullable error))handler;
@end

@interface NSWorkspace (Accessibility)
@property(readonly) BOOL accessibilityDisplayShouldReduceMotion;
@end

typedef NSUInteger NSWindowStyleMask;
typedef NSInteger NSWindowLevel;
typedef NSUInteger NSWindowCollectionBehavior;
typedef NSInteger NSWindowAnimationBehavior;
@interface NSWindow : NSObject
@property NSWindowStyleMask styleMask;
@property NSWindowLevel level;
@property NSWindowCollectionBehavior collectionBehavior;
@property NSWindowAnimationBehavior animationBehavior;
@property BOOL hidesOnDeactivate;
@property BOOL ignoresMouseEvents;
@end
@interface NSView : NSObject
@property(nullable, readonly, assign) NSWindow *window;
@end

typedef CGRect NSRect;
@interface NSScreen : NSObject
@property(class, nonnull, readonly, copy) NSArray<NSScreen *> *screens;
@property(class, readonly, nullable) NSScreen *mainScreen;
@property(readonly) NSRect frame;
@property(readonly) NSRect visibleFrame;
@end

typedef enum : NSUInteger { NSEventTypeKeyDown = 10, NSEventTypeKeyUp = 11, NSEventTypeFlagsChanged = 12 } NSEventType;
typedef NSUInteger NSEventModifierFlags;
@interface NSEvent : NSObject
+ (nullable NSEvent *)eventWithCGEvent:(nonnull CGEventRef)event;
@property(readonly) NSEventType type;
@property(readonly) unsigned short keyCode;
@property(readonly) NSEventModifierFlags modifierFlags;
@property(readonly, getter=isARepeat) BOOL ARepeat;
@end

typedef NSString *NSPasteboardType;
extern NSPasteboardType _Nonnull const NSPasteboardTypeString;
@interface NSPasteboard : NSObject
@property(class, nonnull, readonly, strong) NSPasteboard *generalPasteboard;
@property(readonly) NSInteger changeCount;
- (NSInteger)clearContents;
- (BOOL)setData:(nullable NSData *)data forType:(nonnull NSPasteboardType)type;
- (nullable NSData *)dataForType:(nonnull NSPasteboardType)type;
- (nullable NSString *)stringForType:(nonnull NSPasteboardType)type;
@end
