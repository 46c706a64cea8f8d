<?xml version="1.0"?>
<!-- Renders one worker's share of a book as parts, for the program to put
     together: included by a stylesheet that imports the generated
     stylesheet of the format. The program calls it with its own XPath
     functions (namespace qx): qx:root() tells whether this worker renders
     the book itself (with what the format writes beside its pages),
     qx:parts() gives the chapters, sections and index of its share in
     document order, qx:enter(node) says which one is being rendered, and
     qx:is-current(node) and qx:slot(node) answer for it.

     Chunked formats: every chunk is a part with its head, its titles and its
     body; a chunk met inside another is rendered as a part of its own.
     Single HTML ($quillary.slots = 1): the chapters and the index are parts,
     and the book leaves an instruction quillary-slot where each goes. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:q="urn:x-quillary:parts"
                xmlns:qx="urn:x-quillary:functions"
                exclude-result-prefixes="qx"
                version="1.0">

<xsl:param name="quillary.slots" select="0"/>

<!-- The program finds every chunk's neighbours: DocBook's list of all
     chunks is not made. -->
<xsl:variable name="chunk.hierarchy"/>

<xsl:template match="/">
  <q:parts>
    <xsl:if test="qx:root()">
      <q:root>
        <xsl:attribute name="href">
          <xsl:call-template name="href.target">
            <xsl:with-param name="object" select="/*"/>
          </xsl:call-template>
        </xsl:attribute>
        <xsl:value-of select="qx:enter(/*)"/>
        <q:title><xsl:apply-templates select="/*" mode="object.title.markup"/></q:title>
        <q:text><xsl:apply-templates select="/*" mode="object.title.markup.textonly"/></q:text>
        <xsl:if test="$quillary.slots = 0">
          <xsl:for-each select="/*">
            <q:head>
              <xsl:call-template name="system.head.content"/>
              <xsl:call-template name="head.content"/>
            </q:head>
          </xsl:for-each>
        </xsl:if>
        <q:body><xsl:apply-imports/></q:body>
      </q:root>
      <xsl:if test="$quillary.slots = 0">
        <xsl:for-each select="/*">
          <xsl:call-template name="quillary.common"/>
        </xsl:for-each>
      </xsl:if>
    </xsl:if>
    <xsl:for-each select="qx:parts()">
      <xsl:variable name="chunk">
        <xsl:call-template name="chunk"/>
      </xsl:variable>
      <q:part chunk="{$chunk}">
        <xsl:if test="$chunk = 1 or $quillary.slots = 1">
          <xsl:attribute name="href">
            <xsl:call-template name="href.target">
              <xsl:with-param name="object" select="."/>
            </xsl:call-template>
          </xsl:attribute>
        </xsl:if>
        <xsl:value-of select="qx:enter(.)"/>
        <xsl:if test="$chunk = 1 or $quillary.slots = 1">
          <xsl:if test="$quillary.slots = 0">
            <q:title><xsl:apply-templates select="." mode="object.title.markup"/></q:title>
            <q:text><xsl:apply-templates select="." mode="object.title.markup.textonly"/></q:text>
            <q:head>
              <xsl:call-template name="system.head.content"/>
              <xsl:call-template name="head.content"/>
            </q:head>
          </xsl:if>
          <q:body><xsl:apply-templates select="."/></q:body>
        </xsl:if>
      </q:part>
    </xsl:for-each>
  </q:parts>
</xsl:template>

<!-- A chunk's content where DocBook would write its page; nothing for a
     chunk inside it, which is a part of its own. -->
<xsl:template name="process-chunk-element">
  <xsl:if test="qx:is-current(.)">
    <xsl:apply-imports/>
  </xsl:if>
</xsl:template>

<xsl:template match="book/chapter|book/index">
  <xsl:choose>
    <xsl:when test="$quillary.slots = 0 or qx:is-current(.)">
      <xsl:apply-imports/>
    </xsl:when>
    <xsl:otherwise>
      <xsl:processing-instruction name="quillary-slot">
        <xsl:value-of select="qx:slot(.)"/>
      </xsl:processing-instruction>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<!-- What every page shares, as the format's parameters and templates give
     it: the program writes the head's links and the navigation with it. -->
<xsl:template name="quillary.common">
  <q:common div-element="{$div.element}"
            extra-head-links="{$html.extra.head.links}"
            suppress-navigation="{$suppress.navigation}"
            suppress-header-navigation="{$suppress.header.navigation}"
            suppress-footer-navigation="{$suppress.footer.navigation}"
            navig-showtitles="{$navig.showtitles}"
            navig-graphics="{$navig.graphics}"
            header-rule="{$header.rule}"
            footer-rule="{$footer.rule}"
            chunk-tocs-and-lots="{$chunk.tocs.and.lots}"
            align-start="{$direction.align.start}"
            align-end="{$direction.align.end}"
            method="{$chunker.output.method}"
            media-type="{$chunker.output.media-type}"
            encoding="{$chunker.output.encoding}"
            indent="{$chunker.output.indent}"
            doctype-public="{$chunker.output.doctype-public}"
            doctype-system="{$chunker.output.doctype-system}"
            legalnotice="{count(//legalnotice)}">
    <xsl:attribute name="prev"><xsl:call-template name="gentext.nav.prev"/></xsl:attribute>
    <xsl:attribute name="next"><xsl:call-template name="gentext.nav.next"/></xsl:attribute>
    <xsl:attribute name="up"><xsl:call-template name="gentext.nav.up"/></xsl:attribute>
    <xsl:attribute name="home"><xsl:call-template name="gentext.nav.home"/></xsl:attribute>
    <q:html><xsl:call-template name="root.attributes"/></q:html>
    <q:body><xsl:call-template name="body.attributes"/></q:body>
    <q:preroot><xsl:call-template name="user.preroot"/></q:preroot>
    <q:user-head><xsl:call-template name="user.head.content"/></q:user-head>
    <q:user-header-navigation><xsl:call-template name="user.header.navigation"/></q:user-header-navigation>
    <q:user-header><xsl:call-template name="user.header.content"/></q:user-header>
    <q:user-footer><xsl:call-template name="user.footer.content"/></q:user-footer>
    <q:user-footer-navigation><xsl:call-template name="user.footer.navigation"/></q:user-footer-navigation>
    <q:append><xsl:value-of select="$chunk.append"/></q:append>
  </q:common>
</xsl:template>

</xsl:stylesheet>
