{
  "targets": [
    {
      "target_name": "utils",
      "sources": ["<!@(node scripts/list-sources.js)"],
      "include_dirs": ["src/native"],
      "cflags_cc!": ["-fno-exceptions", "-fno-rtti"],
      "cflags_cc": ["-std=gnu++17", "-fexceptions", "-O2"],
      "xcode_settings": {
        "GCC_ENABLE_CPP_EXCEPTIONS": "YES",
        "CLANG_CXX_LANGUAGE_STANDARD": "gnu++17",
        "OTHER_CPLUSPLUSFLAGS": ["-O2"]
      }
    }
  ]
}
