# Text that is no markup, and source code.
set(text_types
    com.adobe.jsx com.apple.applescript.text com.apple.dashcode.css com.apple.log
    com.apple.metal com.apple.rez-source com.apple.terminal.shell-script
    com.apple.traditional-mac-plain-text com.apple.xcode.configsettings
    com.apple.xcode.strings-text com.autodesk.dxf com.microsoft.typescript
    com.netscape.javascript-source com.sun.java-source com.wolfram.mathematica
    net.daringfireball.markdown org.corvystack.ascii-armor org.corvystack.asciidoc
    org.corvystack.basic-source org.corvystack.batch-script org.corvystack.bibtex
    org.corvystack.clojure-source org.corvystack.cmake-script org.corvystack.cobol-source
    org.corvystack.configuration org.corvystack.csharp-source org.corvystack.dart-source
    org.corvystack.desktop-entry org.corvystack.dtd org.corvystack.elixir-source
    org.corvystack.emacs-lisp org.corvystack.erlang-source org.corvystack.fish-script
    org.corvystack.fsharp-source org.corvystack.gettext org.corvystack.go-source
    org.corvystack.groovy-source org.corvystack.haskell-source org.corvystack.json-lines
    org.corvystack.kotlin-source org.corvystack.less org.corvystack.lisp-source
    org.corvystack.lua-source org.corvystack.lyrics org.corvystack.manual-page
    org.corvystack.notebook org.corvystack.ocaml-source org.corvystack.perl-test
    org.corvystack.pod org.corvystack.powershell-script org.corvystack.protobuf-source
    org.corvystack.r-markdown org.corvystack.registry-export org.corvystack.restructured-text
    org.corvystack.roff org.corvystack.rust-source org.corvystack.sass
    org.corvystack.scala-source org.corvystack.sql org.corvystack.subrip
    org.corvystack.tcl-script org.corvystack.texinfo org.corvystack.turtle
    org.corvystack.verilog-source org.corvystack.vhdl-source org.corvystack.vim-script
    org.khronos.gltf org.latex.class org.latex.style org.tug.tex org.w3.webvtt public.ada-source
    public.assembly-source public.bash-script public.c-header public.c-plus-plus-header
    public.c-plus-plus-source public.c-plus-plus-source.preprocessed public.c-source
    public.c-source.preprocessed public.comma-separated-values-text public.csh-script public.css
    public.delimited-values-text public.fortran-source public.geojson
    public.geometry-definition-format public.json public.ksh-script public.lex-source public.log
    public.m3u-playlist public.make-source public.mig-source public.nasm-assembly-source
    public.objective-c-plus-plus-source public.objective-c-source public.pascal-source
    public.patch-file public.pem public.perl-script public.php-script public.plain-text
    public.pls-playlist public.python-script public.ruby-script public.script public.sgml
    public.shell-script public.source-code public.swift-source public.tab-separated-values-text
    public.text public.toml public.utf16-plain-text public.utf8-plain-text public.yacc-source
    public.yaml public.zsh-script)
