# From clang's description of the public headers (-ast-dump=json), a line for each function and variable: "needed" where
# it is declared only, so that the library has to define it, else "defined"; and its mangled name.

def is_declaration:
  .kind | IN("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl", "VarDecl");

def is_defined:
  .isImplicit or .pure or .explicitlyDefaulted or .explicitlyDeleted or .init
  or any(.inner[]?; .kind | IN("CompoundStmt", "CXXTryStmt"));

# What a class declares. What is both private and inline is for the library's own sources.
def members:
  (if .tagUsed == "class" then "private" else "public" end) as $default
  | foreach .inner[]? as $member ($default; if $member.kind == "AccessSpecDecl" then $member.access else . end;
      $member + {access: .})
  | select((.access == "private" and .inline and (is_defined | not)) | not);

# Of an instance of a template, each member that the template defines is defined.
def declarations:
  if .kind | IN("NamespaceDecl", "LinkageSpecDecl", "FriendDecl") then .inner[]? | declarations
  elif .kind | IN("CXXRecordDecl", "ClassTemplateSpecializationDecl") then members | declarations
  elif .kind == "ClassTemplateDecl" then
    [.inner[] | select(.kind == "CXXRecordDecl") | members | select(is_declaration and (is_defined | not)) | .name] as $left
    | .inner[] | select(.kind == "ClassTemplateSpecializationDecl") | members
    | select(is_declaration) | .init = (.init // (.name | IN($left[]) | not))
  elif is_declaration then .
  else empty end;

declarations | select(.mangledName) | (if is_defined then "defined " else "needed " end) + .mangledName
