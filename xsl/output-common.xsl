<?xml version="1.0"?>
<!-- What every HTML format adds to DocBook's pages so that readers and
     checkers accept them: the language on every page, headings that start
     at h1 on each page and never skip a level, an author that is no
     heading. Imported after DocBook and its speed layer. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:exsl="http://exslt.org/common"
                exclude-result-prefixes="exsl"
                version="1.0">

<!-- Targets as id attributes: HTML5 has no named anchors. -->
<xsl:param name="generate.id.attributes" select="1"/>
<!-- A contents entry without entries below it is no term without a
     definition: the contents are lists. -->
<xsl:param name="toc.list.type" select="'ul'"/>

<xsl:template name="root.attributes">
  <xsl:attribute name="lang">
    <xsl:call-template name="l10n.language">
      <xsl:with-param name="target" select="/*[1]"/>
    </xsl:call-template>
  </xsl:attribute>
</xsl:template>

<!-- A keyword's place on the page. -->
<xsl:template match="indexterm">
  <a class="indexterm">
    <xsl:attribute name="id">
      <xsl:call-template name="object.id"/>
    </xsl:attribute>
  </a>
</xsl:template>

<!-- Chapters, the index and sections count one each, the book none. -->
<xsl:template name="quillary.depth">
  <xsl:param name="node" select="."/>
  <xsl:value-of select="count($node/ancestor-or-self::*[self::chapter or self::appendix or self::preface
                        or self::index or self::glossary or self::bibliography or self::section
                        or self::sect1 or self::sect2 or self::sect3 or self::sect4 or self::sect5])"/>
</xsl:template>

<!-- The depth whose divisions open a page with h1: on one page that is the
     chapters (the book's own title is an h1 as well). -->
<xsl:template name="quillary.page.depth">
  <xsl:param name="node" select="."/>
  <xsl:text>1</xsl:text>
</xsl:template>

<xsl:template name="quillary.heading.level">
  <xsl:param name="node" select="."/>
  <xsl:variable name="depth">
    <xsl:call-template name="quillary.depth">
      <xsl:with-param name="node" select="$node"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:variable name="page">
    <xsl:call-template name="quillary.page.depth">
      <xsl:with-param name="node" select="$node"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:variable name="level" select="$depth - $page + 1"/>
  <xsl:choose>
    <xsl:when test="$level &lt; 1">1</xsl:when>
    <xsl:when test="$level &gt; 6">6</xsl:when>
    <xsl:otherwise><xsl:value-of select="$level"/></xsl:otherwise>
  </xsl:choose>
</xsl:template>

<!-- The level of a heading one below its division's. -->
<xsl:template name="quillary.inner.level">
  <xsl:param name="node" select="."/>
  <xsl:variable name="outer">
    <xsl:call-template name="quillary.heading.level">
      <xsl:with-param name="node"
                      select="$node/ancestor-or-self::*[self::chapter or self::appendix or self::preface
                              or self::index or self::glossary or self::bibliography or self::section
                              or self::sect1 or self::sect2 or self::sect3 or self::sect4 or self::sect5][1]"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:choose>
    <xsl:when test="$outer &gt;= 6">6</xsl:when>
    <xsl:otherwise><xsl:value-of select="$outer + 1"/></xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template name="component.title">
  <xsl:param name="node" select="."/>
  <xsl:variable name="level">
    <xsl:call-template name="quillary.heading.level">
      <xsl:with-param name="node" select="$node"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:element name="h{$level}">
    <xsl:attribute name="class">title</xsl:attribute>
    <xsl:call-template name="anchor">
      <xsl:with-param name="node" select="$node"/>
      <xsl:with-param name="conditional" select="0"/>
    </xsl:call-template>
    <xsl:apply-templates select="$node" mode="object.title.markup">
      <xsl:with-param name="allow-anchors" select="1"/>
    </xsl:apply-templates>
  </xsl:element>
</xsl:template>

<xsl:template name="section.heading">
  <xsl:param name="section" select="."/>
  <xsl:param name="level" select="1"/>
  <xsl:param name="allow-anchors" select="1"/>
  <xsl:param name="title"/>
  <xsl:param name="class" select="'title'"/>
  <xsl:variable name="hlevel">
    <xsl:call-template name="quillary.heading.level">
      <xsl:with-param name="node" select="$section"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:element name="h{$hlevel}">
    <xsl:attribute name="class"><xsl:value-of select="$class"/></xsl:attribute>
    <xsl:if test="$css.decoration != '0'">
      <xsl:if test="$hlevel &lt; 3">
        <xsl:attribute name="style">clear: both</xsl:attribute>
      </xsl:if>
    </xsl:if>
    <xsl:if test="$allow-anchors != 0">
      <xsl:call-template name="anchor">
        <xsl:with-param name="node" select="$section"/>
        <xsl:with-param name="conditional" select="0"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:copy-of select="$title"/>
  </xsl:element>
</xsl:template>

<xsl:template name="nongraphical.admonition">
  <div>
    <xsl:call-template name="common.html.attributes">
      <xsl:with-param name="inherit" select="1"/>
    </xsl:call-template>
    <xsl:call-template name="id.attribute"/>
    <xsl:if test="$admon.style != '' and $make.clean.html = 0">
      <xsl:attribute name="style">
        <xsl:value-of select="$admon.style"/>
      </xsl:attribute>
    </xsl:if>
    <xsl:if test="$admon.textlabel != 0 or title or info/title">
      <xsl:variable name="level">
        <xsl:call-template name="quillary.inner.level"/>
      </xsl:variable>
      <xsl:element name="h{$level}">
        <xsl:attribute name="class">title</xsl:attribute>
        <xsl:call-template name="anchor"/>
        <xsl:apply-templates select="." mode="object.title.markup"/>
      </xsl:element>
    </xsl:if>
    <xsl:apply-templates/>
  </div>
</xsl:template>

<!-- The index's letters one level below its title. -->
<xsl:template name="generate-index">
  <xsl:param name="scope" select="(ancestor::book|/)[last()]"/>
  <xsl:variable name="index">
    <xsl:call-template name="generate-basic-index">
      <xsl:with-param name="scope" select="$scope"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:variable name="level">
    <xsl:call-template name="quillary.inner.level"/>
  </xsl:variable>
  <xsl:apply-templates select="exsl:node-set($index)/node()" mode="quillary.relevel">
    <xsl:with-param name="level" select="$level"/>
  </xsl:apply-templates>
</xsl:template>

<xsl:template match="h3" mode="quillary.relevel">
  <xsl:param name="level"/>
  <xsl:element name="h{$level}">
    <xsl:copy-of select="@*"/>
    <xsl:apply-templates mode="quillary.relevel">
      <xsl:with-param name="level" select="$level"/>
    </xsl:apply-templates>
  </xsl:element>
</xsl:template>

<!-- The index's terms as nested lists: a term with no subentries is no
     definition list's term without a definition. -->
<xsl:template match="dl" mode="quillary.relevel">
  <xsl:param name="level"/>
  <ul class="index" style="list-style-type: none">
    <xsl:apply-templates select="dt" mode="quillary.relevel">
      <xsl:with-param name="level" select="$level"/>
    </xsl:apply-templates>
  </ul>
</xsl:template>

<xsl:template match="dt" mode="quillary.relevel">
  <xsl:param name="level"/>
  <li>
    <xsl:apply-templates mode="quillary.relevel">
      <xsl:with-param name="level" select="$level"/>
    </xsl:apply-templates>
    <xsl:apply-templates select="following-sibling::*[1][self::dd]/node()" mode="quillary.relevel">
      <xsl:with-param name="level" select="$level"/>
    </xsl:apply-templates>
  </li>
</xsl:template>

<!-- Copied without the namespace declarations DocBook's templates carry. -->
<xsl:template match="*" mode="quillary.relevel">
  <xsl:param name="level"/>
  <xsl:element name="{local-name()}">
    <xsl:copy-of select="@*"/>
    <xsl:apply-templates mode="quillary.relevel">
      <xsl:with-param name="level" select="$level"/>
    </xsl:apply-templates>
  </xsl:element>
</xsl:template>

<xsl:template match="text()|comment()|processing-instruction()" mode="quillary.relevel">
  <xsl:copy-of select="."/>
</xsl:template>

<!-- The author on the title page is a line, not a heading below the title. -->
<xsl:template match="corpauthor" mode="titlepage.mode">
  <p>
    <xsl:apply-templates select="." mode="common.html.attributes"/>
    <xsl:call-template name="id.attribute"/>
    <xsl:apply-templates mode="titlepage.mode"/>
  </p>
</xsl:template>

</xsl:stylesheet>
