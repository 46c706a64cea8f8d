<?xml version="1.0"?>
<!-- EPUB 3 from the DocBook of the first pass. The program writes a driver
     that imports DocBook XSL's epub3/chunk.xsl and then this file, so that
     these templates take precedence. The package is written below the
     driver's output folder: OEBPS/, META-INF/ and mimetype. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns="http://www.w3.org/1999/xhtml"
                xmlns:dc="http://purl.org/dc/elements/1.1/"
                exclude-result-prefixes="#default dc"
                version="1.0">

<!-- DocBook's templates that walk the whole book for every chunk, link or
     index entry, replaced as for the chunked HTML formats. -->
<xsl:import href="docbook-layer-html.xsl"/>
<xsl:import href="docbook-layer-chunking.xsl"/>
<xsl:param name="quillary.html.namespace" select="'http://www.w3.org/1999/xhtml'"/>

<!-- Set by the program. -->
<!-- The book's language as the project names it ("en", "de"): DocBook's own
     name may differ ("pt_br") or fall back to English. -->
<xsl:param name="quillary.language" select="''"/>
<!-- A stable urn:uuid, the same for every run of one book and language. -->
<xsl:param name="quillary.identifier" select="''"/>
<!-- The cover image inside OEBPS ("cover.png") and its media type; empty:
     no cover. -->
<xsl:param name="quillary.cover" select="''"/>
<xsl:param name="quillary.cover.type" select="''"/>

<!-- Relative: the driver's output folder holds the package. -->
<xsl:param name="base.dir" select="''"/>
<xsl:param name="chunk.quietly" select="0"/>
<!-- Chunks find their neighbours in a list made once, not by walking the
     whole book before and after each of them. -->
<xsl:param name="chunk.fast" select="1"/>
<!-- Every topic a page of its own, a chapter's first one too. -->
<xsl:param name="chunk.first.sections" select="1"/>
<!-- The contents alone: a help book's lists of figures and tables are noise. -->
<xsl:param name="generate.toc">book toc,title</xsl:param>
<!-- Levels of the navigation document (the program sets it); a chapter is
     the first, so sections go one level less. -->
<xsl:param name="toc.max.depth" select="3"/>
<xsl:param name="toc.section.depth" select="$toc.max.depth - 1"/>
<!-- EPUB 3 readers take the navigation document; the EPUB 2 contents
     (toc.ncx) cost DocBook a walk of the book for every entry. -->
<xsl:param name="epub.include.ncx" select="0"/>
<!-- The head of a page: DocBook's own template, but for the legal notice,
     which it searches the whole book for once for every page; it is looked
     for once. -->
<xsl:variable name="quillary.legalnotice" select="boolean(//legalnotice)"/>

<xsl:template name="html.head">
  <xsl:param name="prev" select="/foo"/>
  <xsl:param name="next" select="/foo"/>
  <xsl:variable name="this" select="."/>
  <xsl:variable name="home" select="/*[1]"/>
  <xsl:variable name="up" select="parent::*"/>

  <head>
    <xsl:call-template name="system.head.content"/>
    <xsl:call-template name="head.content"/>

    <!-- home link not valid in HTML5 -->
    <xsl:if test="$home and $div.element != 'section'">
      <link rel="home">
        <xsl:attribute name="href">
          <xsl:call-template name="href.target">
            <xsl:with-param name="object" select="$home"/>
          </xsl:call-template>
        </xsl:attribute>
        <xsl:attribute name="title">
          <xsl:apply-templates select="$home" mode="object.title.markup.textonly"/>
        </xsl:attribute>
      </link>
    </xsl:if>

    <!-- up link not valid in HTML5 -->
    <xsl:if test="$up and $div.element != 'section'">
      <link rel="up">
        <xsl:attribute name="href">
          <xsl:call-template name="href.target">
            <xsl:with-param name="object" select="$up"/>
          </xsl:call-template>
        </xsl:attribute>
        <xsl:attribute name="title">
          <xsl:apply-templates select="$up" mode="object.title.markup.textonly"/>
        </xsl:attribute>
      </link>
    </xsl:if>

    <xsl:if test="$prev">
      <link rel="prev">
        <xsl:attribute name="href">
          <xsl:call-template name="href.target">
            <xsl:with-param name="object" select="$prev"/>
          </xsl:call-template>
        </xsl:attribute>
        <xsl:attribute name="title">
          <xsl:apply-templates select="$prev" mode="object.title.markup.textonly"/>
        </xsl:attribute>
      </link>
    </xsl:if>

    <xsl:if test="$next">
      <link rel="next">
        <xsl:attribute name="href">
          <xsl:call-template name="href.target">
            <xsl:with-param name="object" select="$next"/>
          </xsl:call-template>
        </xsl:attribute>
        <xsl:attribute name="title">
          <xsl:apply-templates select="$next" mode="object.title.markup.textonly"/>
        </xsl:attribute>
      </link>
    </xsl:if>

    <xsl:if test="$html.extra.head.links != 0">
      <xsl:for-each select="//part                             |//reference                             |//preface                             |//chapter                             |//article                             |//refentry                             |//appendix[not(parent::article)]|appendix                             |//glossary[not(parent::article)]|glossary                             |//index[not(parent::article)]|index">
        <link rel="{local-name(.)}">
          <xsl:attribute name="href">
            <xsl:call-template name="href.target">
              <xsl:with-param name="context" select="$this"/>
              <xsl:with-param name="object" select="."/>
            </xsl:call-template>
          </xsl:attribute>
          <xsl:attribute name="title">
            <xsl:apply-templates select="." mode="object.title.markup.textonly"/>
          </xsl:attribute>
        </link>
      </xsl:for-each>

      <xsl:for-each select="section|sect1|refsection|refsect1">
        <link>
          <xsl:attribute name="rel">
            <xsl:choose>
              <xsl:when test="local-name($this) = 'section'                               or local-name($this) = 'refsection'">
                <xsl:value-of select="'subsection'"/>
              </xsl:when>
              <xsl:otherwise>
                <xsl:value-of select="'section'"/>
              </xsl:otherwise>
            </xsl:choose>
          </xsl:attribute>
          <xsl:attribute name="href">
            <xsl:call-template name="href.target">
              <xsl:with-param name="context" select="$this"/>
              <xsl:with-param name="object" select="."/>
            </xsl:call-template>
          </xsl:attribute>
          <xsl:attribute name="title">
            <xsl:apply-templates select="." mode="object.title.markup.textonly"/>
          </xsl:attribute>
        </link>
      </xsl:for-each>

      <xsl:for-each select="sect2|sect3|sect4|sect5|refsect2|refsect3">
        <link rel="subsection">
          <xsl:attribute name="href">
            <xsl:call-template name="href.target">
              <xsl:with-param name="context" select="$this"/>
              <xsl:with-param name="object" select="."/>
            </xsl:call-template>
          </xsl:attribute>
          <xsl:attribute name="title">
            <xsl:apply-templates select="." mode="object.title.markup.textonly"/>
          </xsl:attribute>
        </link>
      </xsl:for-each>
    </xsl:if>

    <!-- * if we have a legalnotice and user wants it output as a -->
    <!-- * separate page and $html.head.legalnotice.link.types is -->
    <!-- * non-empty, we generate a link or links for each value in -->
    <!-- * $html.head.legalnotice.link.types -->
    <xsl:if test="$quillary.legalnotice                   and not($generate.legalnotice.link = 0)                   and not($html.head.legalnotice.link.types = '')">
      <xsl:call-template name="make.legalnotice.head.links"/>
    </xsl:if>

    <xsl:call-template name="user.head.content"/>
  </head>
</xsl:template>

<!-- A book has neither SVG nor MathML; DocBook looks for them in every
     chunk by walking the document. -->
<xsl:template name="svg.property"/>
<xsl:template name="mathml.property"/>
<!-- The cover is the first page a reader turns to. -->
<xsl:param name="epub.cover.linear" select="1"/>

<xsl:variable name="quillary.lang">
  <xsl:choose>
    <xsl:when test="$quillary.language != ''">
      <xsl:value-of select="$quillary.language"/>
    </xsl:when>
    <xsl:otherwise>
      <xsl:call-template name="l10n.language">
        <xsl:with-param name="target" select="/*"/>
      </xsl:call-template>
    </xsl:otherwise>
  </xsl:choose>
</xsl:variable>

<!-- A page the DocBook names "x.html" (the index) becomes "x.xhtml": readers
     expect the extension of XHTML. -->
<xsl:template name="pi.dbhtml_filename">
  <xsl:param name="node" select="."/>
  <xsl:variable name="name">
    <xsl:call-template name="dbhtml-attribute">
      <xsl:with-param name="pis" select="$node/processing-instruction('dbhtml')"/>
      <xsl:with-param name="attribute" select="'filename'"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:variable name="stem" select="substring($name, 1, string-length($name) - 5)"/>
  <xsl:choose>
    <xsl:when test="string-length($name) &gt; 5 and substring($name, string-length($name) - 4) = '.html'">
      <xsl:value-of select="concat($stem, $html.ext)"/>
    </xsl:when>
    <xsl:otherwise>
      <xsl:value-of select="$name"/>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<!-- Every page says its language; readers pick fonts and hyphenation by it. -->
<xsl:template name="root.attributes">
  <xsl:call-template name="all.namespaces"/>
  <xsl:attribute name="lang">
    <xsl:value-of select="$quillary.lang"/>
  </xsl:attribute>
  <xsl:attribute name="xml:lang">
    <xsl:value-of select="$quillary.lang"/>
  </xsl:attribute>
</xsl:template>

<!-- The package file, with the project's language. -->
<xsl:template match="*" mode="opf">
  <xsl:variable name="content">
    <xsl:element name="package" namespace="{$opf.namespace}">
      <xsl:call-template name="add.package.namespaces"/>
      <xsl:attribute name="version">
        <xsl:value-of select="$epub.version"/>
      </xsl:attribute>
      <xsl:attribute name="xml:lang">
        <xsl:value-of select="$quillary.lang"/>
      </xsl:attribute>
      <xsl:attribute name="unique-identifier">
        <xsl:value-of select="$epub.dc.identifier.id"/>
      </xsl:attribute>
      <xsl:call-template name="package.metadata"/>
      <xsl:call-template name="package.manifest"/>
      <xsl:call-template name="package.spine"/>
      <xsl:if test="$epub.include.guide != 0">
        <xsl:call-template name="package.guide"/>
      </xsl:if>
    </xsl:element>
  </xsl:variable>

  <xsl:call-template name="write.chunk">
    <xsl:with-param name="filename" select="$epub.package.pathname"/>
    <xsl:with-param name="content" select="$content"/>
    <xsl:with-param name="method" select="'xml'"/>
    <xsl:with-param name="encoding" select="'utf-8'"/>
    <xsl:with-param name="indent" select="'yes'"/>
    <xsl:with-param name="quiet" select="$chunk.quietly"/>
    <xsl:with-param name="doctype-public" select="''"/>
    <xsl:with-param name="doctype-system" select="''"/>
  </xsl:call-template>
</xsl:template>

<xsl:template name="package-identifier">
  <xsl:value-of select="$quillary.identifier"/>
</xsl:template>

<xsl:template name="metadata.language">
  <dc:language id="{$epub.dc.language.id}">
    <xsl:value-of select="$quillary.lang"/>
  </dc:language>
</xsl:template>

<!-- Readers take a date only as YYYY, YYYY-MM or YYYY-MM-DD; the project's
     date is written as the author's locale has it, so another is left out. -->
<xsl:template match="date|pubdate" mode="opf.metadata">
  <xsl:variable name="d" select="normalize-space(.)"/>
  <xsl:variable name="shape" select="translate($d, '0123456789', '##########')"/>
  <xsl:if test="($shape = '####' or $shape = '####-##' or $shape = '####-##-##')
                and (self::pubdate or not(../pubdate))">
    <dc:date>
      <xsl:value-of select="$d"/>
    </dc:date>
  </xsl:if>
</xsl:template>

<!-- The cover comes from the program, not from the DocBook. -->
<xsl:template name="metadata.cover">
  <xsl:if test="$quillary.cover != ''">
    <xsl:element name="meta" namespace="{$opf.namespace}">
      <xsl:attribute name="name">cover</xsl:attribute>
      <xsl:attribute name="content">
        <xsl:value-of select="$epub.cover.image.id"/>
      </xsl:attribute>
    </xsl:element>
  </xsl:if>
</xsl:template>

<xsl:template name="manifest.cover">
  <xsl:if test="$quillary.cover != ''">
    <xsl:element namespace="{$opf.namespace}" name="item">
      <xsl:attribute name="id">
        <xsl:value-of select="$epub.cover.filename.id"/>
      </xsl:attribute>
      <xsl:attribute name="href">
        <xsl:value-of select="$epub.cover.filename"/>
      </xsl:attribute>
      <xsl:attribute name="media-type">
        <xsl:value-of select="$epub.xhtml.mediatype"/>
      </xsl:attribute>
    </xsl:element>
    <xsl:element namespace="{$opf.namespace}" name="item">
      <xsl:attribute name="id">
        <xsl:value-of select="$epub.cover.image.id"/>
      </xsl:attribute>
      <xsl:attribute name="properties">cover-image</xsl:attribute>
      <xsl:attribute name="href">
        <xsl:value-of select="$quillary.cover"/>
      </xsl:attribute>
      <xsl:attribute name="media-type">
        <xsl:value-of select="$quillary.cover.type"/>
      </xsl:attribute>
    </xsl:element>
    <xsl:call-template name="quillary.cover.page"/>
  </xsl:if>
</xsl:template>

<xsl:template name="quillary.cover.page">
  <xsl:variable name="title">
    <xsl:apply-templates select="/*" mode="title.markup"/>
  </xsl:variable>
  <xsl:call-template name="write.chunk">
    <xsl:with-param name="filename" select="$epub.cover.pathname"/>
    <xsl:with-param name="method" select="'xml'"/>
    <xsl:with-param name="encoding" select="'utf-8'"/>
    <xsl:with-param name="indent" select="'no'"/>
    <xsl:with-param name="quiet" select="$chunk.quietly"/>
    <xsl:with-param name="content">
      <html lang="{$quillary.lang}" xml:lang="{$quillary.lang}">
        <head>
          <title>
            <xsl:value-of select="normalize-space($title)"/>
          </title>
          <style type="text/css">
            <xsl:text>body { margin: 0; text-align: center; } img { max-width: 100%; max-height: 100vh; }</xsl:text>
          </style>
        </head>
        <body>
          <div id="{$epub.cover.image.id}">
            <img src="{$quillary.cover}" alt="{normalize-space($title)}"/>
          </div>
        </body>
      </html>
    </xsl:with-param>
  </xsl:call-template>
</xsl:template>

<xsl:template name="spine.cover">
  <xsl:if test="$quillary.cover != ''">
    <xsl:element namespace="{$opf.namespace}" name="itemref">
      <xsl:attribute name="idref">
        <xsl:value-of select="$epub.cover.filename.id"/>
      </xsl:attribute>
      <xsl:attribute name="linear">
        <xsl:choose>
          <xsl:when test="$epub.cover.linear != 0">yes</xsl:when>
          <xsl:otherwise>no</xsl:otherwise>
        </xsl:choose>
      </xsl:attribute>
    </xsl:element>
  </xsl:if>
</xsl:template>

<xsl:template name="package.guide">
  <xsl:element namespace="{$opf.namespace}" name="guide">
    <xsl:if test="$quillary.cover != ''">
      <xsl:element namespace="{$opf.namespace}" name="reference">
        <xsl:attribute name="href">
          <xsl:value-of select="$epub.cover.filename"/>
        </xsl:attribute>
        <xsl:attribute name="type">cover</xsl:attribute>
        <xsl:attribute name="title">Cover</xsl:attribute>
      </xsl:element>
    </xsl:if>
    <xsl:element namespace="{$opf.namespace}" name="reference">
      <xsl:attribute name="href">
        <xsl:call-template name="toc-href">
          <xsl:with-param name="node" select="/*"/>
        </xsl:call-template>
      </xsl:attribute>
      <xsl:attribute name="type">toc</xsl:attribute>
      <xsl:attribute name="title">Table of Contents</xsl:attribute>
    </xsl:element>
  </xsl:element>
</xsl:template>

</xsl:stylesheet>
