// One-off cross-check: decode archives written by quillarc with GNUstep's
// NSKeyedUnarchiver, print the tree, and write the same tree back with
// GNUstep's NSKeyedArchiver for our reader to open.
#import <Foundation/Foundation.h>

@interface QuillarcDatabaseObject : NSObject <NSCoding> { @public NSMutableDictionary *fields; }
+ (NSArray *)keys;
@end
@implementation QuillarcDatabaseObject
+ (NSArray *)keys { return [NSArray array]; }
- (id)initWithCoder:(NSCoder *)c {
  self = [super init];
  fields = [NSMutableDictionary new];
  NSEnumerator *e = [[[self class] keys] objectEnumerator]; NSString *k;
  while ((k = [e nextObject])) { id v = [c decodeObjectForKey:k]; [fields setObject:(v ? v : (id)[NSNull null]) forKey:k]; }
  return self;
}
- (void)encodeWithCoder:(NSCoder *)c {
  NSEnumerator *e = [[[self class] keys] objectEnumerator]; NSString *k;
  while ((k = [e nextObject])) { id v = [fields objectForKey:k]; [c encodeObject:(v == [NSNull null] ? nil : v) forKey:k]; }
}
- (NSString *)description { return [NSString stringWithFormat:@"<%@ %@>", NSStringFromClass([self class]), fields]; }
@end
#define CLS(name, ...) @interface name : QuillarcDatabaseObject @end @implementation name + (NSArray *)keys { return [NSArray arrayWithObjects:__VA_ARGS__, nil]; } @end
CLS(QuillarcContainer, @"uniqueID", @"creationDate", @"containerTitle", @"containerDescription", @"groups", @"logs", @"properties")
CLS(QuillarcGroup, @"uniqueID", @"creationDate", @"groupTitle", @"groupDescription", @"documents", @"groupColorTag", @"isLocked", @"hasMonitoredFolder", @"folderPath", @"properties")
CLS(QuillarcDocument, @"uniqueID", @"creationDate", @"fileDate", @"modificationDate", @"string", @"path", @"iconPath", @"name", @"title", @"extension", @"fileKind", @"fileType", @"slipNumber", @"contentString", @"fileSize", @"comment", @"note", @"dateAdded", @"documentColorTag", @"isLocked", @"tags", @"fileID", @"properties")
CLS(QuillarcLogObject, @"uniqueID", @"creationDate", @"logKind", @"objectUniqueID", @"logText", @"properties")
CLS(QuillarcPreferences, @"uniqueID", @"creationDate", @"isFirstStartEverDone", @"isSetupDone", @"isFirstSaveDone", @"autoSaveBOOL", @"autoLockDocuments", @"autoVoucherNumbering", @"voucherNumber", @"voucherPrefix", @"voucherSuffix", @"readFinderTags", @"writeFinderTags", @"includeSummary", @"includeComment", @"includeTags", @"groupIndex", @"documentIndex", @"sortOrder", @"sortKind", @"validationPosssible", @"useOCR", @"ocrPrioritiseAccuracy", @"folderImportDateUsageKind", @"ocrLanguageKind", @"properties")

int main(int argc, char **argv) {
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  NSString *input = [NSString stringWithUTF8String:argv[1]];
  NSDictionary *db = [NSKeyedUnarchiver unarchiveObjectWithData:[NSData dataWithContentsOfFile:input]];
  if (!db) { printf("GNUstep could not decode %s\n", argv[1]); return 1; }
  id company = [NSKeyedUnarchiver unarchiveObjectWithData:[db objectForKey:@"companyData"]];
  printf("db_version %s  db_kind %s  host '%s'\n", [[[db objectForKey:@"db_version"] description] UTF8String],
         [[[db objectForKey:@"db_kind"] description] UTF8String], [[db objectForKey:@"host"] UTF8String]);
  printf("%s\n", [[company description] UTF8String]);
  printf("preferences %s\n", [[[db objectForKey:@"preferences"] description] UTF8String]);
  if (argc > 2) {
    // The same tree written back by GNUstep: company data re-archived inside a re-archived database.
    NSMutableDictionary *copy = [db mutableCopy];
    [copy setObject:[NSKeyedArchiver archivedDataWithRootObject:company] forKey:@"companyData"];
    [[NSKeyedArchiver archivedDataWithRootObject:copy] writeToFile:[NSString stringWithUTF8String:argv[2]] atomically:YES];
    printf("wrote %s\n", argv[2]);
  }
  [pool release];
  return 0;
}
